#include "Trial.h"

#include "ProgramRun.h"
#include "VersionedOptions.h"
#include "mac_installer/launcher/InfoPlist.h"
#include "mac_installer/launcher/RuntimeHome.h"
#include "mac_installer/launcher/RuntimeSupport.h"
#include "platform/path.h"
#include "platform/text.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <optional>
#include <string_view>
#include <utility>

namespace kestrav::tools {

namespace {

namespace fs = std::filesystem;

using platform::PropertyList;

bool beginsWithAny(std::string_view text, const auto &beginnings) {
    return std::any_of(std::begin(beginnings), std::end(beginnings),
                       [&](const char *each) { return text.starts_with(each); });
}

/// False for options with variables, which are replaced only where the application runs, and for agents: they run
/// programs of their own, and may wait for a debugger.
bool canBeTried(const std::string &option) {
    constexpr std::array others{"-include-options ", "-agentlib:", "-agentpath:", "-javaagent:", "-Xrun"};
    return option.find("${") == std::string::npos && !beginsWithAny(option, others) && runtimeKnowsOption(option);
}

/// True for options that fail where a module is not found.
bool namesModules(const std::string &option) {
    constexpr std::array naming{"--add-modules", "--limit-modules", "--module="};
    return beginsWithAny(option, naming);
}

/// Where the application has modules; nothing if that shows only where it runs.
std::optional<std::string> knownModulePath(const PropertyList &javaVM, const std::string &application) {
    std::string path = replacingAppPackage(stringValue(javaVM, "ModulePath").value_or(""), application);
    path = platform::replacingOccurrences(path, "${launcher:sys.launcherDirectory}", application);
    const bool isKnown = path.find_first_of("$*") == std::string::npos;
    return isKnown ? std::optional(std::move(path)) : std::nullopt;
}

/// A folder in which the entries of the application's working directory can be found, but nothing of it is changed.
void linkWorkingDirectory(const std::string &directory, const std::string &folder) {
    fs::create_directory(folder);
    std::error_code missing;
    for (const auto &entry : fs::directory_iterator(directory, missing)) {
        fs::create_symlink(fs::absolute(entry.path()), fs::path(folder) / entry.path().filename());
    }
}

/// What the runtime says of a failure, on one line, without what it says of every one.
std::string reasonIn(const std::string &output) {
    constexpr std::array always{"Error: Could not create the Java Virtual Machine", "Error: A fatal exception"};
    std::string reason;
    for (const std::string &line : linesIn(output)) {
        if (!beginsWithAny(line, always)) {
            reason += (reason.empty() ? "" : " ") + line;
        }
    }
    constexpr std::size_t most = 1000;
    return reason.substr(0, most);
}

/// True if another machine would perhaps have enough memory.
bool isShortOfMemory(std::string_view output) {
    constexpr std::array signs{"enough space", "nsufficient memory", "Cannot allocate memory", "Could not allocate"};
    return std::any_of(signs.begin(), signs.end(),
                       [&](const char *sign) { return output.find(sign) != std::string_view::npos; });
}

/// The options that this runtime gets from the application.
std::vector<std::string> optionsOf(const PropertyList &javaVM, const std::string &version) {
    auto options = stringArrayValue(javaVM, "VMOptionArray").value_or(std::vector<std::string>());
    if (const auto *pairs = arrayValue(javaVM, "VersionSpecificVMOptions")) {
        const auto more = optionsFor(version, *pairs);
        options.insert(options.end(), more.begin(), more.end());
    }
    return options;
}

class Attempt {
public:
    explicit Attempt(const Trial &trial)
        : trial_(trial), application_(fs::absolute(trial.application).lexically_normal().string()),
          java_(javaProgram(trial.runtime.folder)) {
        const PropertyList &javaVM = *trial.info.find("JavaVM");
        const auto modulePath = knownModulePath(javaVM, application_);
        for (const std::string &option : optionsOf(javaVM, trial.runtime.version)) {
            if (canBeTried(option) && (modulePath || !namesModules(option))) {
                options_.push_back(replacingAppPackage(option, application_));
            }
        }
        if (modulePath && !modulePath->empty()) {
            options_.insert(options_.end(), {"-p", *modulePath});
        }
        linkWorkingDirectory(replacingAppPackage(stringValue(javaVM, "WorkingDirectory").value_or(""), application_),
                             trial.folder);
    }

    /// Empty if there are no options to be tried.
    std::vector<std::string> tryOptions() {
        return options_.empty() ? std::vector<std::string>()
                                : tryLine({"-version"}, "The runtime does not take the application's VM options: ",
                                          "the VM options could not be tried");
    }

    std::vector<std::string> tryMainClass() {
        const PropertyList &javaVM = *trial_.info.find("JavaVM");
        const std::string mainClass = stringValue(javaVM, "MainClass").value_or("");
        const std::string trust = "the main class " + mainClass +
                                  " is in none of the program's archives; that the runtime has it is taken on trust";
        constexpr int firstWithDryRun = 9;
        if (platform::intValue(trial_.runtime.version) < firstWithDryRun) {
            return {trust};
        }
        return tryLine(
            {"-Djava.class.path=" + replacingAppPackage(stringValue(javaVM, "ClassPath").value_or(""), application_),
             "--dry-run", mainClass},
            "The main class " + mainClass + " is neither on the class path nor in the runtime: ", trust);
    }

private:
    std::vector<std::string> tryLine(const std::vector<std::string> &more, const std::string &refusal,
                                     const std::string &untried) {
        std::vector<std::string> line = options_;
        line.insert(line.end(), more.begin(), more.end());
        const ProgramRun run = runProgram(java_, line, trial_.folder);
        if (run.succeeded) {
            return warnings(run.output);
        }
        if (run.end == ProgramRun::End::timedOut) {
            return {untried + ": the runtime did not answer"};
        }
        if (run.end == ProgramRun::End::notStarted || !runProgram(java_, {"-version"}, trial_.folder).succeeded) {
            return {untried + ": the runtime does not run on this machine"};
        }
        if (isShortOfMemory(run.output)) {
            return {untried + ": this machine has too little memory for them"};
        }
        const bool lacksModules = run.output.find("java.lang.module.") != std::string::npos;
        throw Refusal((lacksModules ? "The runtime does not start the application's modules: " : refusal) +
                      reasonIn(run.output));
    }

    static std::vector<std::string> warnings(const std::string &output) {
        std::vector<std::string> notes;
        for (const std::string &line : linesIn(output)) {
            if (line.starts_with("WARNING: ") || line.find(" warning: ") != std::string::npos) {
                notes.push_back("the runtime says: " + line);
            }
        }
        return notes;
    }

    const Trial &trial_;
    std::string application_;
    std::string java_;
    std::vector<std::string> options_;
};

} // namespace

std::vector<std::string> tryRuntime(const Trial &trial, bool seeksMainClass) {
    Attempt attempt(trial);
    std::vector<std::string> notes = attempt.tryOptions();
    if (seeksMainClass) {
        const auto more = attempt.tryMainClass();
        notes.insert(notes.end(), more.begin(), more.end());
    }
    return notes;
}

} // namespace kestrav::tools
