#include "CommandLine.h"

#include "ArgumentFile.h"
#include "Usage.h"
#include "platform/path.h"

#include <getopt.h>

#include <cstdio>
#include <functional>
#include <string_view>

namespace kestrav::tools {

namespace {

/// What an option does to the request.
using Apply = std::function<void(Request &, std::string)>;

struct Option {
    const char *name;
    bool hasValue;
    Apply apply;
};

Apply fieldSetter(std::string Request::*field) {
    return [field](Request &request, std::string value) { request.*field = std::move(value); };
}

void setName(Request &request, std::string value) {
    if (value.empty()) {
        throw Refusal("The application's name must not be empty");
    }
    request.name = std::move(value);
}

void setJar(Request &request, std::string value) {
    if (request.jar) {
        throw Refusal("There is one --jar, the one with the main class; the others are given with --class-path");
    }
    request.jar = std::move(value);
}

Apply fieldSetter(std::optional<std::string> Request::*field) {
    return [field](Request &request, std::string value) { request.*field = std::move(value); };
}

Apply fieldSetter(std::vector<std::string> Request::*field) {
    return [field](Request &request, std::string value) { (request.*field).push_back(std::move(value)); };
}

Apply fieldSetter(OptionalText RuntimeBounds::*field) {
    return [field](Request &request, std::string value) { request.bounds.*field = std::move(value); };
}

void addVMOption(Request &request, std::string value) {
    if (auto versioned = versionedOption(value)) {
        request.versionedOptions.push_back(std::move(*versioned));
    } else {
        request.vmOptions.push_back(std::move(value));
    }
}

Apply setter(bool Request::*field) {
    return [field](Request &request, const std::string &) { request.*field = true; };
}

void addLanguage(Request &request, const std::string &value) {
    const std::size_t equals = value.find('=');
    request.languages.push_back({value.substr(0, equals),
                                 equals == std::string::npos ? std::nullopt : std::optional(value.substr(equals + 1))});
}

void setRuntimeForm(Request &request, const std::string &value) {
    if (value != "archive" && value != "folder") {
        throw Refusal("--runtime-form is archive or folder, not " + value);
    }
    request.runtimeForm = value == "archive" ? RuntimeForm::archive : RuntimeForm::folder;
}

void addSearch(Request &request, std::string value) {
    if (!request.search) {
        request.search.emplace();
    }
    request.search->push_back(std::move(value));
}

const std::vector<Option> &options() {
    static const std::vector<Option> all{
        {"name", true, setName},
        {"identifier", true, fieldSetter(&Request::identifier)},
        {"app-version", true, fieldSetter(&Request::version)},
        {"input", true, fieldSetter(&Request::input)},
        {"jar", true, setJar},
        {"main-class", true, fieldSetter(&Request::mainClass)},
        {"class-path", true, fieldSetter(&Request::classPath)},
        {"file", true, fieldSetter(&Request::files)},
        {"vm-option", true, addVMOption},
        {"argument", true, fieldSetter(&Request::arguments)},
        {"options-file", true, fieldSetter(&Request::optionsFile)},
        {"working-directory", true, fieldSetter(&Request::workingDirectory)},
        {"splash", true, fieldSetter(&Request::splash)},
        {"icon", true, fieldSetter(&Request::icon)},
        {"language", true, addLanguage},
        {"file-type", true, fieldSetter(&Request::fileTypes)},
        {"url-scheme", true, fieldSetter(&Request::urlSchemes)},
        {"info", true, fieldSetter(&Request::info)},
        {"runtime", true, fieldSetter(&Request::runtime)},
        {"runtime-form", true, setRuntimeForm},
        {"runtime-url", true, fieldSetter(&Request::runtimeURL)},
        {"runtime-sha256", true, fieldSetter(&Request::runtimeSHA256)},
        {"keep-runtime", false, setter(&Request::keepRuntime)},
        {"min-version", true, fieldSetter(&RuntimeBounds::minVersion)},
        {"max-version", true, fieldSetter(&RuntimeBounds::maxVersion)},
        {"vm-id-prefix", true, fieldSetter(&RuntimeBounds::requiredVmIdPrefix)},
        {"allow-beta", false, [](Request &request, const std::string &) { request.bounds.allowBeta = true; }},
        {"search", true, addSearch},
        {"no-search", false, [](Request &request, const std::string &) { request.search.emplace(); }},
        {"installer", false, setter(&Request::installer)},
        {"sign", true, fieldSetter(&Request::signingIdentity)},
        {"entitlements", true, fieldSetter(&Request::entitlements)},
        {"template", true, fieldSetter(&Request::bundleTemplate)},
        {"replace", false, setter(&Request::replace)},
        {"no-window", false, setter(&Request::noWindow)},
        {"dry-run", false, setter(&Request::dryRun)},
        {"verbose", false, setter(&Request::verbose)},
        {"clean", false, setter(&Request::clean)},
    };
    return all;
}

constexpr int firstOption = 256; // above every character that getopt could mean
constexpr int helpOption = 'h';
constexpr int versionOption = 'V';

std::vector<option> longOptions() {
    std::vector<option> table{{"help", no_argument, nullptr, helpOption},
                              {"version", no_argument, nullptr, versionOption}};
    int value = firstOption;
    for (const Option &each : options()) {
        table.push_back({each.name, each.hasValue ? required_argument : no_argument, nullptr, value++});
    }
    table.push_back({nullptr, 0, nullptr, 0});
    return table;
}

/// The part of a path before ".app"; refuses any other.
std::string applicationName(std::string_view path) {
    constexpr std::string_view suffix = ".app";
    const std::string name = platform::lastPathComponent(path);
    if (!name.ends_with(suffix) || name.size() == suffix.size()) {
        throw Refusal("The application's name has to end in \".app\": " + std::string(path));
    }
    if (name.find(':') != std::string::npos) {
        throw Refusal("A \":\" in the application's name would end an entry of its class path: " + std::string(path));
    }
    return name.substr(0, name.size() - suffix.size());
}

/// The request to remove kept runtimes, which needs nothing else but may name their folder.
Request cleaning(int options, const std::vector<std::string> &operands) {
    if (operands.size() > 1 || options != 1) {
        throw Refusal("Beside --clean there is a folder at most: kestrav-bundle --clean [FOLDER]");
    }
    Request request;
    request.clean = true;
    request.output = operands.empty() ? "" : operands.front();
    return request;
}

/// The words of a command line, into which the content of files with options is put as they are met.
class CommandLine {
public:
    CommandLine(int argc, char **argv) : words_(argv, argv + argc) {}

    /// Applies the options; false after a question, which has been answered.
    bool read(Request &request) {
        const auto table = longOptions();
        opterr = 0;
        prepare(0);
        // The "-" has words that are not options handed over where they stand, as if 1 were their option.
        for (int found = 0; (found = getopt_long(count(), vector_.data(), "-:hV", table.data(), nullptr)) != -1;) {
            if (found == helpOption || found == versionOption) {
                std::fputs(found == helpOption ? usage : versionText, stdout);
                return false;
            }
            if (found == 1) {
                takeWord(optarg);
                continue;
            }
            requireKnown(found);
            const Option &option = options().at(static_cast<std::size_t>(found - firstOption));
            ++options_;
            option.apply(request, option.hasValue ? optarg : "");
        }
        operands_.insert(operands_.end(), words_.begin() + optind, words_.end()); // those after "--"
        return true;
    }

    /// How many options were applied.
    [[nodiscard]] int optionCount() const { return options_; }
    [[nodiscard]] const std::vector<std::string> &operands() const { return operands_; }

private:
    [[nodiscard]] int count() const { return static_cast<int>(words_.size()); }

    void prepare(int next) {
        vector_.clear();
        for (std::string &word : words_) {
            vector_.push_back(word.data());
        }
        vector_.push_back(nullptr);
        optind = next; // 0: begin anew
    }

    void takeWord(const std::string &word) {
        if (!word.starts_with('@')) {
            operands_.push_back(word);
        } else if (word.starts_with("@@")) {
            operands_.push_back(word.substr(1));
        } else {
            takeFile(word.substr(1));
        }
    }

    /// Goes on with the words of the file and those that have not been read yet.
    void takeFile(const std::string &path) {
        constexpr int mostFiles = 100;
        if (++files_ > mostFiles) {
            throw Refusal("There are more than a hundred files with options; does " + path + " name itself?");
        }
        const auto inFile = wordsOfFile(path);
        const auto read = words_.begin() + 1;
        words_.erase(read, words_.begin() + optind);
        words_.insert(words_.begin() + 1, inFile.begin(), inFile.end());
        prepare(0);
    }

    void requireKnown(int found) const {
        const std::string word = words_[static_cast<std::size_t>(optind) - 1];
        if (found == ':') {
            throw Refusal(word + " needs a value");
        }
        if (found < firstOption) {
            throw Refusal(optopt >= firstOption
                              ? word + ": this option takes no value"
                              : "There is no option " +
                                    (optopt == 0 ? word : std::string{'-', static_cast<char>(optopt)}) +
                                    "; try --help");
        }
    }

    std::vector<std::string> words_; ///< the program and what has not been replaced by the words of a file
    std::vector<char *> vector_;
    std::vector<std::string> operands_;
    int options_ = 0;
    int files_ = 0;
};

} // namespace

std::optional<Request> parseCommandLine(int argc, char **argv) {
    Request request;
    CommandLine line(argc, argv);
    if (!line.read(request)) {
        return std::nullopt;
    }
    const auto &operands = line.operands();
    if (request.clean) {
        return cleaning(line.optionCount(), operands);
    }
    if (operands.size() != 1) {
        throw Refusal(operands.empty() ? "Which application is to be made? Try --help"
                                       : "One application at a time: " + operands[1]);
    }
    request.output = platform::withoutTrailingSlashes(operands.front());
    const std::string name = applicationName(request.output);
    if (request.name.empty()) {
        request.name = name;
    }
    if (!request.runtimeForm) {
        request.runtimeForm = request.installer ? RuntimeForm::archive : RuntimeForm::folder;
    }
    return request;
}

} // namespace kestrav::tools
