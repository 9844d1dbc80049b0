#include "checks.h"

#include "mac_installer/launcher/Launcher.h"
#include "platform/SHA256.h"
#include "platform/downloadRules.h"
#include "platform/text.h"

#include <algorithm>
#include <array>

namespace kestrav::tools {

namespace {

/// A property list is XML, which has no place for control characters.
void requireText(const std::string &text, const std::string &what) {
    const auto isControl = [](char character) {
        const auto code = static_cast<unsigned char>(character);
        return code < ' ' && character != '\t' && character != '\n';
    };
    if (!platform::isValidUTF8(text) || std::any_of(text.begin(), text.end(), isControl)) {
        throw Refusal(what + " is not UTF-8 text, or has control characters");
    }
}

void requireTexts(const std::vector<std::string> &texts, const std::string &what) {
    for (const std::string &text : texts) {
        requireText(text, what);
    }
}

bool isIdentifierCharacter(char character) {
    return (character >= '0' && character <= '9') || (character >= 'a' && character <= 'z') ||
           (character >= 'A' && character <= 'Z') || character == '-' || character == '.';
}

/// The platform's rule for bundle identifiers: letters, digits, "-" and "." of ASCII.
void checkIdentifier(const std::string &identifier) {
    if (identifier.empty()) {
        throw Refusal("The application needs an identifier, such as --identifier com.example.tool");
    }
    const auto pieces = platform::componentsSeparatedBy(identifier, ".");
    const bool good = std::all_of(identifier.begin(), identifier.end(), isIdentifierCharacter) && pieces.size() > 1 &&
                      std::none_of(pieces.begin(), pieces.end(), [](const auto &piece) { return piece.empty(); });
    if (!good) {
        throw Refusal(
            "The identifier \"" + identifier +
            R"(" has to be words of letters, digits and "-" with dots between them, such as com.example.tool)");
    }
}

/// A version begins with a digit; what may follow is what makers write, as in "17.0.2+8-LTS" or "1.8.0_202".
bool isVersion(const std::string &text) {
    return !text.empty() && platform::isDecimalDigit(static_cast<unsigned char>(text.front())) &&
           std::all_of(text.begin(), text.end(), [](char character) {
               return isIdentifierCharacter(character) || character == '_' || character == '+';
           });
}

void checkBounds(const RuntimeBounds &bounds) {
    for (const OptionalText &bound : {bounds.minVersion, bounds.maxVersion}) {
        if (bound && !isVersion(*bound)) {
            throw Refusal("\"" + *bound + "\" is not a version such as 11 or 17.0.2");
        }
    }
    constexpr int lastOldStyle = 8;
    if (bounds.minVersion && platform::intValue(*bounds.minVersion) > 1 &&
        platform::intValue(*bounds.minVersion) <= lastOldStyle) {
        throw Refusal("Java " + *bounds.minVersion + " calls itself 1." + *bounds.minVersion +
                      "; give --min-version that way");
    }
    if (bounds.minVersion && bounds.maxVersion &&
        !Launcher::compareVersion(bounds.maxVersion, Launcher::versionListOf(*bounds.minVersion), true)) {
        throw Refusal("No version is at least " + *bounds.minVersion + " and at most " + *bounds.maxVersion);
    }
}

void checkURL(const std::string &url) {
    constexpr std::string_view separator = "://";
    const std::size_t end = url.find(separator);
    const std::string scheme = url.substr(0, end);
    const std::string rest = end == std::string::npos ? "" : url.substr(end + separator.size());
    constexpr std::array schemes{"http", "https", "ftp", "file"};
    const bool known = std::find(schemes.begin(), schemes.end(), scheme) != schemes.end();
    const bool complete = !rest.empty() && (scheme == "file") == rest.starts_with('/');
    if (!known || !complete || url.find_first_of(" \t\n") != std::string::npos) {
        throw Refusal("\"" + platform::withoutSecrets(url) +
                      "\" is not an address such as https://example.com/jre.tar.gz or file:///folder/jre.tar.gz");
    }
}

void checkRuntime(const Request &request) {
    if (request.runtime && (request.runtimeURL || request.search)) {
        throw Refusal("An application that carries its runtime looks for no other: give either --runtime or " +
                      std::string(request.runtimeURL ? "--runtime-url" : "--search"));
    }
    if (request.runtimeURL) {
        checkURL(*request.runtimeURL);
    }
    if (request.runtimeSHA256 && !request.runtimeURL) {
        throw Refusal("--runtime-sha256 is that of the archive at --runtime-url");
    }
    if (request.runtimeSHA256 && platform::normalizedSHA256(*request.runtimeSHA256).empty()) {
        throw Refusal("\"" + *request.runtimeSHA256 + "\" is not a SHA-256, which has 64 hexadecimal digits");
    }
    const bool hasArchive = request.runtime && request.runtimeForm == RuntimeForm::archive;
    if (request.trains && !request.runtime) {
        throw Refusal("An application is trained with the runtime that it carries: give --runtime as well");
    }
    if (!request.trains && (!request.trainingArguments.empty() || request.trainingTime)) {
        throw Refusal("--training-argument and --training-time are for --train");
    }
    if (request.keepRuntime && !hasArchive && !request.runtimeURL) {
        throw Refusal("--keep-runtime is for a runtime that travels as an archive or is downloaded");
    }
    if (request.search && request.search->empty() && !request.runtimeURL && !request.earlierInstallation) {
        throw Refusal("With --no-search the application would find no runtime: give --runtime-url as well");
    }
    for (const std::string &entry : request.search.value_or(std::vector<std::string>())) {
        const bool named = entry.size() > 1 && (entry.front() == 'R' || entry.front() == 'E');
        if (entry != "Y" && !named) {
            throw Refusal("\"" + entry +
                          "\" is not a place to search: give Y, R and a folder, or E and a variable's name");
        }
        if (entry.starts_with("R~")) {
            throw Refusal("\"" + entry + R"(": "~" does not stand for a user's folder here; give the whole path)");
        }
    }
    checkBounds(request.bounds);
}

/// Refuses what would make the runtime take the main class, or another option, for something else.
void checkOptions(const std::vector<std::string> &options) {
    constexpr std::array takingTheNext{"-cp",
                                       "-classpath",
                                       "--class-path",
                                       "-p",
                                       "--module-path",
                                       "--upgrade-module-path",
                                       "--add-modules",
                                       "--limit-modules",
                                       "--add-exports",
                                       "--add-opens",
                                       "--add-reads",
                                       "--patch-module",
                                       "--enable-native-access",
                                       "--source",
                                       "-d",
                                       "--describe-module",
                                       "-jar",
                                       "-m",
                                       "--module"};
    for (const std::string &option : options) {
        if (!option.starts_with('-')) {
            throw Refusal(R"(A VM option begins with "-", unlike ")" + option +
                          "\", which would be taken for the main class" +
                          "; an option with a value is one text, as in --add-modules=java.sql");
        }
        if (std::find(takingTheNext.begin(), takingTheNext.end(), option) != takingTheNext.end()) {
            throw Refusal("The VM option " + option +
                          " would take the next one for its value; for the class path there " +
                          "is --class-path, other options have it in one text, as in --add-modules=java.sql");
        }
    }
}

} // namespace

void checkRequest(const Request &request) {
    requireText(request.name, "The name");
    requireText(request.version, "The version");
    requireTexts(request.classPath, "The class path");
    requireTexts(request.files, "A file's name");
    requireTexts(request.content, "A file's name");
    for (const auto &[key, text] : request.information) {
        requireText(text, "What is to be \"" + key + "\" in Info.plist");
    }
    requireTexts(request.vmOptions, "A VM option");
    requireTexts(request.arguments, "An argument");
    for (const std::string &argument : request.arguments) {
        if (!request.installer && argument.starts_with('@') && !argument.starts_with("@@")) {
            throw Refusal("An argument that begins with a single @ would name a file with arguments; give it as @" +
                          argument);
        }
    }
    requireTexts(request.search.value_or(std::vector<std::string>()), "A place to search");
    for (const Language &language : request.languages) {
        requireText(language.name, "A language's name");
    }
    for (const VersionedOption &each : request.versionedOptions) {
        requireText(each.option, "A VM option");
        checkOptions({each.option});
    }
    requireText(request.workingDirectory, "The working directory");
    if (!request.workingDirectory.starts_with('/') && !request.workingDirectory.starts_with("$APP_PACKAGE")) {
        throw Refusal("The working directory " + request.workingDirectory +
                      " is one where the application runs: give a whole path, or $APP_PACKAGE/...");
    }
    for (const auto &[language, name] : request.localizedNames) {
        requireText(name, "The name in " + language);
    }
    requireText(request.installPath.value_or(""), "The path of the installed application");
    requireText(request.input.value_or(""), "The input folder's name");
    requireText(request.optionsFile.value_or(""), "The options file's name");
    requireText(request.splash.value_or(""), "The image's name");
    requireText(request.jar.value_or(""), "The archive's name");
    requireText(request.mainClass.value_or(""), "The main class");
    requireText(request.runtimeURL.value_or(""), "The address");
    for (const OptionalText &text :
         {request.bounds.minVersion, request.bounds.maxVersion, request.bounds.requiredVmIdPrefix}) {
        requireText(text.value_or(""), "A bound for the runtime");
    }
    checkIdentifier(request.identifier);
    if (request.module && (request.jar || request.mainClass)) {
        throw Refusal("The program is either a module or a class: give --module or " +
                      std::string(request.jar ? "--jar" : "--main-class"));
    }
    requireText(request.module.value_or(""), "The module");
    requireTexts(request.modulePath, "The module path");
    if (!request.jlinkOptions.empty() && request.addModules.empty()) {
        throw Refusal("--jlink-options is for a runtime that is made with --add-modules");
    }
    if (std::any_of(request.jlinkOptions.begin(), request.jlinkOptions.end(),
                    [](const std::string &option) { return option.starts_with("--output"); })) {
        throw Refusal("--jlink-options cannot say where the runtime is made, with --output");
    }
    checkOptions(request.vmOptions);
    checkRuntime(request);
}

} // namespace kestrav::tools
