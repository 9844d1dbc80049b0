#include "Training.h"

#include "ChildProcess.h"
#include "Configuration.h"
#include "FileTree.h"
#include "Interruption.h"
#include "ProgramFiles.h"
#include "ProgramRun.h"
#include "Recorder.h"
#include "Sizes.h"
#include "Template.h"
#include "mac_installer/launcher/InfoPlist.h"
#include "mac_installer/launcher/RuntimeHome.h"
#include "mac_installer/launcher/RuntimeSupport.h"
#include "platform/FileManager.h"
#include "platform/path.h"
#include "platform/text.h"

#include <sys/stat.h>
#include <sys/wait.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <optional>
#include <thread>

namespace kestrav::tools {

namespace {

namespace fs = std::filesystem;

using platform::appendingPathComponent;
using platform::PropertyList;
using Dictionary = PropertyList::Dictionary;
using Clock = std::chrono::steady_clock;

std::vector<std::string> classPathOf(const PropertyList &info) {
    return platform::componentsSeparatedBy(stringValue(*info.find("JavaVM"), "ClassPath").value_or(""), ":");
}

/// Info.plist for one start, with more options and, if wanted, a class path relative to the working directory.
PropertyList infoFor(const PropertyList &info, const std::vector<std::string> &options, bool isRelative) {
    Dictionary top = *info.as<Dictionary>();
    top["ksv.initialProgress"] = false;
    Dictionary javaVM = *top["JavaVM"].as<Dictionary>();
    auto all = stringArrayValue(*info.find("JavaVM"), "VMOptionArray").value_or(std::vector<std::string>());
    all.insert(all.end(), options.begin(), options.end());
    javaVM["VMOptionArray"] = PropertyList::Array(all.begin(), all.end());
    if (isRelative) {
        const std::string path = stringValue(*info.find("JavaVM"), "ClassPath").value_or("");
        javaVM["ClassPath"] = platform::replacingOccurrences(path, programFolder, "");
    }
    top["JavaVM"] = std::move(javaVM);
    return {std::move(top)};
}

std::string reasonOf(int status) {
    return WIFEXITED(status) ? "it ended with status " + std::to_string(WEXITSTATUS(status))
                             : "signal " + std::to_string(WTERMSIG(status)) + " ended it";
}

bool endedAsAsked(int status) {
    constexpr int bySignal = 128;
    return WIFEXITED(status) ? WEXITSTATUS(status) == 0 || WEXITSTATUS(status) == bySignal + SIGTERM
                             : WTERMSIG(status) == SIGTERM;
}

class Run {
public:
    explicit Run(const Trainee &trainee)
        : trainee_(trainee), recorder_(recorderOf(trainee.runtime.version)),
          application_(fs::absolute(trainee.application).lexically_normal().string()),
          recording_(replacingAppPackage(recorder_.file, application_)) {}

    /// A virtual machine that misses the runtime's own archive ends as if the program had failed.
    void requireClassArchive() const {
        const std::string java = javaProgram(appendingPathComponent(application_, templateRuntime));
        if (recorder_.extendsArchive && !runProgram(java, {"-Xshare:on", "-version"}, trainee_.folder).succeeded) {
            throw Refusal("The application cannot be trained: Java " + trainee_.runtime.version +
                          " records upon an archive of the runtime's own classes (lib/server/classes.jsa), and the "
                          "runtime has none that is valid" +
                          (trainee_.request.addsClassArchive ? "" : "; leave out --no-class-archive"));
        }
    }

    void record() {
        if (fs::exists(recording_)) {
            throw Refusal("The program has a file " + platform::lastPathComponent(recording_) +
                          ", which is to be the name of what is recorded in training");
        }
        for (const std::string &name : classPathOf(trainee_.info)) {
            if (fs::is_directory(replacingAppPackage(name, application_))) {
                throw Refusal("The application cannot be trained: classes are recorded from archives, and \"" + name +
                              "\" on its class path is a folder");
            }
        }
        writeInfo(infoFor(trainee_.info, recorder_.recordOptions, recorder_.extendsArchive), application_);
        runApplication();
        std::error_code missing;
        if (fs::file_size(recording_, missing) == 0 || missing) {
            throw Refusal("The virtual machine has recorded nothing in training; Java " + trainee_.runtime.version +
                          " may not be able to with the VM options of the application");
        }
        if (::chmod(recording_.c_str(), fileMode) != 0) {
            throw fs::filesystem_error("chmod", recording_, std::error_code(errno, std::generic_category()));
        }
    }

    /// Starts the application at another place, and with another time of the runtime's classes, as after an extraction.
    void requireValidElsewhere() {
        std::vector<std::string> options = recorder_.strictOptions;
        options.insert(options.end(), {"-Xlog:class+load=info:stdout:none", "--dry-run"});
        writeInfo(infoFor(trainee_.info, options, false), application_);
        const std::string moved = appendingPathComponent(trainee_.folder, "moved.app");
        fs::rename(application_, moved);
        const std::string modules =
            appendingPathComponent(getJreLocation(appendingPathComponent(moved, templateRuntime)), "lib/modules");
        const auto time = fs::last_write_time(modules);
        fs::last_write_time(modules, time - std::chrono::hours(1));
        const ProgramRun run =
            runProgram(fs::absolute(appendingPathComponent(moved, templateExecutable)).string(), {}, trainee_.folder);
        fs::last_write_time(modules, time);
        fs::rename(moved, application_);
        const auto lines = linesIn(run.output);
        requireMainClass(lines);
        if (!run.succeeded) {
            std::string reason;
            for (const std::string &line : lines) {
                reason += line.find(sourceMark) == std::string::npos ? "\n" + line : "";
            }
            throw Refusal("What Java " + trainee_.runtime.version +
                          " has recorded in training is not valid where the application is moved to:" + reason);
        }
    }

    [[nodiscard]] PropertyList entry() const {
        Dictionary stamps;
        const std::string folder = replacingAppPackage(programFolder, application_);
        for (const auto &file : fs::recursive_directory_iterator(folder)) {
            if (file.is_regular_file() && file.path().extension() == ".jar") {
                addStamp(stamps, programFolder + file.path().string().substr(folder.size()));
            }
        }
        for (const std::string &name : classPathOf(trainee_.info)) {
            addStamp(stamps, name);
        }
        // A virtual machine may crash on a recording that was cut short.
        addStamp(stamps, recorder_.file);
        const auto &options = recorder_.useOptions;
        return Dictionary{
            {"Version", trainee_.runtime.version},
            {"VMOptions", PropertyList::Array(options.begin(), options.end())},
            {"ClassPath", stringValue(*trainee_.info.find("JavaVM"), "ClassPath").value_or("")},
            {"Files", std::move(stamps)},
        };
    }

    [[nodiscard]] std::string note() const {
        return "trained with Java " + trainee_.runtime.version + ": Contents/Resources/app/" +
               platform::lastPathComponent(recording_) + " (" + megabytes(fs::file_size(recording_)) +
               "), which is valid as long as the program's archives keep their times";
    }

private:
    static constexpr const char *sourceMark = " source: "; ///< stands behind a class in the log of what is loaded

    /// Refuses a recording without the program's main class: the virtual machine has recorded classes of the runtime
    /// alone then, and does not say so.
    void requireMainClass(const std::vector<std::string> &lines) const {
        const std::string mainClass = stringValue(*trainee_.info.find("JavaVM"), "MainClass").value_or("");
        const std::string start = mainClass + sourceMark + "file:";
        const auto line =
            std::find_if(lines.begin(), lines.end(), [&](const std::string &each) { return each.starts_with(start); });
        if (line == lines.end()) {
            return;
        }
        // Before it had caches, it compared the address of an archive with its path: "%20" is not a blank then.
        const bool hasEncodedPath = recorder_.extendsArchive && line->find('%') != std::string::npos;
        throw Refusal("The application cannot be trained: Java " + trainee_.runtime.version +
                      (hasEncodedPath
                           ? " records no classes from paths with blanks or characters beyond ASCII; rename "
                             "the archive, or make the application in another folder and move it then: "
                           : " has recorded no classes of its main archive; a signed one is never recorded: ") +
                      line->substr(start.size()));
    }

    void addStamp(Dictionary &stamps, const std::string &name) const {
        stamps[name] = platform::fileStamp(replacingAppPackage(name, application_));
    }

    /// The status of the child, unless it takes longer.
    static std::optional<int> statusWithin(ChildProcess &child, const std::optional<std::chrono::seconds> &limit) {
        constexpr std::chrono::milliseconds pause(10);
        const auto start = Clock::now();
        for (;;) {
            if (const auto status = child.status()) {
                return status;
            }
            if (limit && Clock::now() - start >= *limit) {
                return std::nullopt;
            }
            raiseIfInterrupted();
            std::this_thread::sleep_for(pause);
        }
    }

    void runApplication() const {
        const Request &request = trainee_.request;
        ChildProcess child(
            {appendingPathComponent(application_, templateExecutable), request.trainingArguments, "", ""});
        if (!child.started()) {
            throw Refusal("The application could not be started to be trained");
        }
        const auto status = statusWithin(child, request.trainingTime);
        if (status) {
            if (*status != 0) {
                throw Refusal("The program failed in training: " + reasonOf(*status));
            }
            return;
        }
        child.terminate();
        constexpr std::chrono::seconds least(120); // what was recorded is written meanwhile
        const auto last = statusWithin(child, std::max(*request.trainingTime, least));
        if (!last || !endedAsAsked(*last)) {
            throw Refusal("The program failed in training: " + (last ? reasonOf(*last) + " when it was asked to end"
                                                                     : "it does not end when it is asked to"));
        }
    }

    const Trainee &trainee_;
    Recorder recorder_;
    std::string application_;
    std::string recording_;
};

/// Refuses what a recording could not fit, first of all a class path of which the application does not carry every
/// file.
void requireRecordable(const PropertyList &info) {
    const PropertyList &javaVM = *info.find("JavaVM");
    if (javaVM.find("ModulePath") != nullptr) {
        throw Refusal("The application cannot be trained: only programs on a class path are recorded, not modules");
    }
    for (const std::string &entry : classPathOf(info)) {
        constexpr std::string_view start = programFolder;
        if (!entry.starts_with(start) || entry.find_first_of("$*", start.size()) != std::string::npos) {
            throw Refusal("The application cannot be trained: only where it runs is known what \"" + entry +
                          "\" on its class path leads to");
        }
    }
    for (const std::string &option : stringArrayValue(javaVM, "VMOptionArray").value_or(std::vector<std::string>())) {
        if (concernsRecordings(option)) {
            throw Refusal("The application cannot be trained: its VM options have " + option);
        }
    }
    const std::string folder(platform::withoutTrailingSlashes(programFolder));
    if (stringValue(javaVM, "WorkingDirectory") != folder) {
        throw Refusal(R"(The application cannot be trained: its "WorkingDirectory" has to be )" + folder);
    }
}

} // namespace

void requireTrainable(const Runtime &runtime, const PropertyList &info, const std::string &folder) {
    const int version = platform::intValue(runtime.version);
    if (version < firstWithRecordings) {
        throw Refusal("The application cannot be trained: Java " + runtime.version + " records nothing; Java " +
                      std::to_string(firstWithRecordings) + " is the first that does");
    }
    requireRecordable(info);
    fs::create_directory(folder);
    if (!runProgram(fs::absolute(javaProgram(runtime.folder)).string(), {"-version"}, folder).succeeded) {
        throw Refusal("The application cannot be trained: its runtime does not run on this machine");
    }
}

PropertyList train(const Trainee &trainee, std::vector<std::string> &notes) {
    Run run(trainee);
    run.requireClassArchive();
    run.record();
    run.requireValidElsewhere();
    notes.push_back(run.note());
    return run.entry();
}

} // namespace kestrav::tools
