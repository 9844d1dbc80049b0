#include "Options.h"

#include "PackagingOptions.h"
#include "platform/text.h"

#include <charconv>

namespace kestrav::tools {

namespace {

Apply fieldSetter(std::string Request::*field) {
    return [field](Request &request, std::string value) { request.*field = std::move(value); };
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

/// What stands before and after the first such character; the second is empty without one.
std::pair<std::string, std::string> dividedAt(char divider, const std::string &text) {
    const std::size_t place = text.find(divider);
    return {text.substr(0, place), place == std::string::npos ? "" : text.substr(place + 1)};
}

void addFileType(Request &request, const std::string &value) {
    const auto [type, description] = dividedAt('=', value);
    const auto [extension, mimeType] = dividedAt(':', type);
    request.fileTypes.push_back({extension, description, mimeType});
}

void addLocalizedName(Request &request, const std::string &value) {
    const auto [language, name] = dividedAt('=', value);
    if (name.empty()) {
        throw Refusal("--name-in " + value + ": write LANG=NAME");
    }
    request.localizedNames[language] = name;
}

/// Adds the words of a value to those of a list.
Apply wordAdder(void (*add)(Request &, std::string)) {
    return [add](Request &request, const std::string &value) {
        for (std::string &word : splitWords(value)) {
            add(request, std::move(word));
        }
    };
}

/// Adds what stands between separators to a list; refuses a value that has nothing else.
Apply listAdder(std::vector<std::string> Request::*field, const char *separator) {
    return [=](Request &request, const std::string &value) {
        if (value.find_first_not_of(separator) == std::string::npos) {
            throw Refusal("\"" + value + "\" is an empty list");
        }
        for (std::string &word : platform::componentsSeparatedBy(value, separator)) {
            if (!word.empty()) {
                (request.*field).push_back(std::move(word));
            }
        }
    };
}

void addJlinkOption(Request &request, std::string value) {
    request.jlinkOptions.push_back(std::move(value));
}

void addArgument(Request &request, std::string value) {
    request.arguments.push_back(std::move(value));
}

void requireApplication(Request &, const std::string &type) {
    if (type != "app-image") {
        throw Refusal("Applications are made here, --type app-image, not " + type +
                      "; other tools put them into packages");
    }
}

void setCategory(Request &request, const std::string &value) {
    request.information["LSApplicationCategoryType"] = "public.app-category." + value;
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

void setTrainingTime(Request &request, const std::string &value) {
    constexpr int longest = 24 * 60 * 60;
    int seconds = 0;
    const auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), seconds);
    if (error != std::errc() || end != value.data() + value.size() || seconds < 1 || seconds > longest) {
        throw Refusal("--training-time is a number of seconds, a day at most, not " + value);
    }
    request.trainingTime = std::chrono::seconds(seconds);
}

void addSearch(Request &request, std::string value) {
    if (!request.search) {
        request.search.emplace();
    }
    request.search->push_back(std::move(value));
}

} // namespace

const std::vector<Option> &options() {
    static const std::vector<Option> all{
        {"name", true, fieldSetter(&Request::name), 'n'},
        {"dest", true, fieldSetter(&Request::destination), 'd'},
        {"identifier", true, fieldSetter(&Request::identifier)},
        {"app-version", true, fieldSetter(&Request::version)},
        {"input", true, fieldSetter(&Request::input), 'i'},
        {"jar", true, setJar},
        {"main-class", true, fieldSetter(&Request::mainClass)},
        {"module", true, fieldSetter(&Request::module), 'm'},
        {"module-path", true, listAdder(&Request::modulePath, ":"), 'p'},
        {"add-modules", true, listAdder(&Request::addModules, ",")},
        {.name = "jlink-options", .hasValue = true, .apply = wordAdder(addJlinkOption), .mayBeEmpty = true},
        {"class-path", true, fieldSetter(&Request::classPath)},
        {"file", true, fieldSetter(&Request::files)},
        {"vm-option", true, addVMOption},
        {.name = "argument", .hasValue = true, .apply = fieldSetter(&Request::arguments), .mayBeEmpty = true},
        {"options-file", true, fieldSetter(&Request::optionsFile)},
        {"working-directory", true, fieldSetter(&Request::workingDirectory)},
        {"splash", true, fieldSetter(&Request::splash)},
        {"icon", true, fieldSetter(&Request::icon)},
        {"language", true, addLanguage},
        {"file-type", true, addFileType},
        {"url-scheme", true, fieldSetter(&Request::urlSchemes)},
        {"desktop-entry", true, fieldSetter(&Request::desktopEntry)},
        {"install-path", true, fieldSetter(&Request::installPath)},
        {"name-in", true, addLocalizedName},
        {"info", true, fieldSetter(&Request::info)},
        {"runtime", true, fieldSetter(&Request::runtime)},
        {"runtime-form", true, setRuntimeForm},
        {"no-class-archive", false, [](Request &request, const std::string &) { request.addsClassArchive = false; }},
        {"train", false, setter(&Request::trains)},
        {.name = "training-argument",
         .hasValue = true,
         .apply = fieldSetter(&Request::trainingArguments),
         .mayBeEmpty = true},
        {"training-time", true, setTrainingTime},
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
        {"check", false, setter(&Request::check)},
        {"json", false, setter(&Request::asJSON)},
        {"clean", false, setter(&Request::clean)},
        // Names that the JDK's packaging tool has for the same.
        {"main-jar", true, setJar},
        {.name = "java-options", .hasValue = true, .apply = wordAdder(addVMOption), .mayBeEmpty = true},
        {.name = "arguments", .hasValue = true, .apply = wordAdder(addArgument), .mayBeEmpty = true},
        {"runtime-image", true, fieldSetter(&Request::runtime)},
        {"file-associations", true, addFileAssociation},
        {"app-content", true, listAdder(&Request::content, ",")},
        {"copyright", true,
         [](Request &request, std::string value) {
             request.information["NSHumanReadableCopyright"] = std::move(value);
         }},
        {"mac-package-identifier", true, fieldSetter(&Request::identifier)},
        {"mac-package-name", true, fieldSetter(&Request::menuName)},
        {"mac-app-category", true, setCategory},
        {"mac-sign", false,
         [](Request &request, const std::string &) { signAs(request, request.signingIdentity.value_or("")); }},
        {.name = "mac-signing-key-user-name", .hasValue = true, .apply = signAs, .mayBeEmpty = true},
        {"mac-entitlements", true, fieldSetter(&Request::entitlements)},
        {"type", true, requireApplication, 't'},
    };
    return all;
}

} // namespace kestrav::tools
