#include "CommandLine.h"

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
        {"jar", true, setJar},
        {"main-class", true, fieldSetter(&Request::mainClass)},
        {"class-path", true, fieldSetter(&Request::classPath)},
        {"file", true, fieldSetter(&Request::files)},
        {"vm-option", true, fieldSetter(&Request::vmOptions)},
        {"argument", true, fieldSetter(&Request::arguments)},
        {"icon", true, fieldSetter(&Request::icon)},
        {"language", true, addLanguage},
        {"file-type", true, fieldSetter(&Request::fileTypes)},
        {"url-scheme", true, fieldSetter(&Request::urlSchemes)},
        {"info", true, fieldSetter(&Request::info)},
        {"runtime", true, fieldSetter(&Request::runtime)},
        {"runtime-form", true, setRuntimeForm},
        {"runtime-url", true, fieldSetter(&Request::runtimeURL)},
        {"runtime-sha256", true, fieldSetter(&Request::runtimeSHA256)},
        {"keep-runtime", false, [](Request &request, const std::string &) { request.keepRuntime = true; }},
        {"min-version", true, fieldSetter(&RuntimeBounds::minVersion)},
        {"max-version", true, fieldSetter(&RuntimeBounds::maxVersion)},
        {"vm-id-prefix", true, fieldSetter(&RuntimeBounds::requiredVmIdPrefix)},
        {"allow-beta", false, [](Request &request, const std::string &) { request.bounds.allowBeta = true; }},
        {"search", true, addSearch},
        {"no-search", false, [](Request &request, const std::string &) { request.search.emplace(); }},
        {"installer", false, [](Request &request, const std::string &) { request.installer = true; }},
        {"sign", true, fieldSetter(&Request::signingIdentity)},
        {"entitlements", true, fieldSetter(&Request::entitlements)},
        {"template", true, fieldSetter(&Request::bundleTemplate)},
        {"replace", false, [](Request &request, const std::string &) { request.replace = true; }},
        {"clean", false, [](Request &request, const std::string &) { request.clean = true; }},
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
Request cleaning(int argc, char **argv) {
    constexpr int withFolder = 3; // the program, --clean, the folder
    if (argc > withFolder || (argc == withFolder && optind != argc - 1)) {
        throw Refusal("Beside --clean there is a folder at most: kestrav-bundle --clean [FOLDER]");
    }
    Request request;
    request.clean = true;
    request.output = argc == withFolder ? argv[optind] : "";
    return request;
}

} // namespace

std::optional<Request> parseCommandLine(int argc, char **argv) {
    Request request;
    const auto table = longOptions();
    opterr = 0;
    for (int found = 0; (found = getopt_long(argc, argv, ":hV", table.data(), nullptr)) != -1;) {
        if (found == helpOption || found == versionOption) {
            std::fputs(found == helpOption ? usage : versionText, stdout);
            return std::nullopt;
        }
        if (found == ':') {
            throw Refusal(std::string(argv[optind - 1]) + " needs a value");
        }
        if (found < firstOption) {
            throw Refusal(optopt >= firstOption
                              ? std::string(argv[optind - 1]) + ": this option takes no value"
                              : "There is no option " +
                                    (optopt == 0 ? argv[optind - 1] : std::string{'-', static_cast<char>(optopt)}) +
                                    "; try --help");
        }
        const Option &option = options().at(static_cast<std::size_t>(found - firstOption));
        option.apply(request, option.hasValue ? optarg : "");
    }
    if (request.clean) {
        return cleaning(argc, argv);
    }
    if (optind + 1 != argc) {
        throw Refusal(optind == argc ? "Which application is to be made? Try --help"
                                     : std::string("One application at a time: ") + argv[optind + 1]);
    }
    request.output = platform::withoutTrailingSlashes(argv[optind]);
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
