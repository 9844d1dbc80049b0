#include "CommandLine.h"

#include "ArgumentFile.h"
#include "Options.h"
#include "Usage.h"
#include "platform/path.h"

#include <getopt.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace kestrav::tools {

namespace {

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

/// The short options for getopt. The "-" has words that are not options handed over where they stand, as if 1 were
/// their option.
std::string shortOptions() {
    std::string letters = "-:hV";
    for (const Option &each : options()) {
        letters += each.letter == '\0' ? "" : std::string{each.letter, ':'};
    }
    return letters;
}

/// The option that getopt has found; null if there is none.
const Option *optionOf(int found) {
    const auto &all = options();
    const auto option = found >= firstOption ? all.begin() + (found - firstOption)
                                             : std::find_if(all.begin(), all.end(),
                                                            [&](const Option &each) { return each.letter == found; });
    return option == all.end() ? nullptr : &*option;
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

/// Where the application will be: the last argument, or DEST/NAME.app.
std::string outputOf(const Request &request, const std::vector<std::string> &operands) {
    const bool isNamed = operands.empty() && !request.name.empty();
    if (operands.size() > 1 || (!operands.empty() && request.destination)) {
        throw Refusal("One application at a time: " + operands.back());
    }
    if (isNamed && request.name.find('/') != std::string::npos) {
        throw Refusal("The name " + request.name + R"( has a "/", which a file's cannot have; give NAME.app as well)");
    }
    if (operands.empty() && !isNamed) {
        throw Refusal("Which application is to be made? Try --help");
    }
    return isNamed ? platform::appendingPathComponent(request.destination.value_or(""), request.name + ".app")
                   : std::string(platform::withoutTrailingSlashes(operands.front()));
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

/// The request to tell how an application would start; its own arguments are behind a "--".
Request checking(const Request &asked, int options, const std::vector<std::string> &operands,
                 const std::vector<std::string> &behind) {
    if (!asked.check || operands.size() != 1 || options != (asked.asJSON ? 2 : 1)) {
        throw Refusal(
            "Beside --check there is one application: kestrav-bundle --check [--json] NAME.app [-- ARGUMENT...]");
    }
    Request request;
    request.check = true;
    request.asJSON = asked.asJSON;
    request.output = platform::withoutTrailingSlashes(operands.front());
    request.arguments = behind;
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
        const std::string letters = shortOptions();
        for (int found = 0;
             (found = getopt_long(count(), vector_.data(), letters.c_str(), table.data(), nullptr)) != -1;) {
            if (found == helpOption || found == versionOption) {
                std::fputs(found == helpOption ? usage : versionText, stdout);
                return false;
            }
            if (found == 1) {
                takeWord(optarg);
                continue;
            }
            const Option *option = optionOf(found);
            requireKnown(found, option);
            requireValue(*option);
            ++options_;
            option->apply(request, option->hasValue ? optarg : "");
        }
        behind_.assign(words_.begin() + optind, words_.end()); // those after "--"
        return true;
    }

    /// How many options were applied.
    [[nodiscard]] int optionCount() const { return options_; }
    /// What is not an option: before "--", behind it, and both.
    [[nodiscard]] const std::vector<std::string> &before() const { return operands_; }
    [[nodiscard]] const std::vector<std::string> &behind() const { return behind_; }
    [[nodiscard]] std::vector<std::string> operands() const {
        std::vector<std::string> all = operands_;
        all.insert(all.end(), behind_.begin(), behind_.end());
        return all;
    }

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

    void requireKnown(int found, const Option *option) const {
        const std::string word = words_[static_cast<std::size_t>(optind) - 1];
        if (found == ':') {
            throw Refusal(word + " needs a value");
        }
        if (option == nullptr) {
            throw Refusal(optopt >= firstOption
                              ? word + ": this option takes no value"
                              : "There is no option " +
                                    (optopt == 0 ? word : std::string{'-', static_cast<char>(optopt)}) +
                                    "; try --help");
        }
    }

    static void requireValue(const Option &option) {
        if (option.hasValue && !option.mayBeEmpty && *optarg == '\0') {
            throw Refusal(std::string("The value of --") + option.name + " must not be empty");
        }
    }

    std::vector<std::string> words_; ///< the program and what has not been replaced by the words of a file
    std::vector<char *> vector_;
    std::vector<std::string> operands_;
    std::vector<std::string> behind_;
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
    const auto operands = line.operands();
    if (request.clean) {
        return cleaning(line.optionCount(), operands);
    }
    if (request.check || request.asJSON) {
        return checking(request, line.optionCount(), line.before(), line.behind());
    }
    request.output = outputOf(request, operands);
    const std::string name = applicationName(request.output);
    if (request.name.empty()) {
        request.name = name;
    }
    request.name = request.menuName.value_or(request.name);
    if (!request.addModules.empty() && !request.runtime) {
        const char *home = std::getenv("JAVA_HOME"); // NOLINT(concurrency-mt-unsafe): nothing changes the environment
        if (home == nullptr || *home == '\0') {
            throw Refusal("--add-modules makes a runtime from a JDK: give it with --runtime, or set JAVA_HOME");
        }
        request.runtime = home;
    }
    if (!request.runtimeForm) {
        request.runtimeForm = request.installer ? RuntimeForm::archive : RuntimeForm::folder;
    }
    return request;
}

} // namespace kestrav::tools
