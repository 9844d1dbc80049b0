#include "Check.h"

#include "Interruption.h"
#include "MainClass.h"
#include "OriginCollector.h"
#include "Runtime.h"
#include "mac_installer/archive/UnTar.h"
#include "mac_installer/archive/Unpacker.h"
#include "mac_installer/launcher/InfoPlist.h"
#include "mac_installer/launcher/LaunchLibrary.h"
#include "mac_installer/launcher/RuntimeBundle.h"
#include "mac_installer/launcher/RuntimeHome.h"
#include "mac_installer/launcher/RuntimeKeeping.h"
#include "mac_installer/launcher/RuntimeSource.h"
#include "mac_installer/launcher/archiveSize.h"
#include "mac_installer/launcher/prepareProcess.h"
#include "platform/DebugLog.h"
#include "platform/Exception.h"
#include "platform/Executable.h"
#include "platform/FileManager.h"
#include "platform/Machine.h"
#include "platform/ProcessInfo.h"
#include "platform/TemporaryFolder.h"
#include "platform/downloadRules.h"
#include "platform/path.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <system_error>
#include <utility>

namespace kestrav::tools {

namespace {

using platform::appendingPathComponent;
using platform::Bundle;

/// The launcher in a folder, whatever its name is; empty if it is not there.
std::string launcherIn(const std::string &folder) {
    constexpr const char *mark = "__ksv_invoke_other"; // an argument that every launcher knows
    for (const std::string &name : platform::contentsOfDirectoryAtPath(folder).value_or(std::vector<std::string>())) {
        std::string path = appendingPathComponent(folder, name);
        if (platform::contentsOfFile(path).value_or("").find(mark) != std::string::npos) {
            return path;
        }
    }
    return "";
}

/// Makes the application this process's own. Refuses what is none of the launcher's, or of another kind of machine.
void speakFor(const Request &request) {
    std::error_code missing;
    const std::string path = std::filesystem::canonical(request.output, missing).string();
    if (missing || !Bundle::setMainBundle(path)) {
        throw Refusal(request.output + ": " + (missing ? missing.message() : "it is not a folder"));
    }
    const std::string executable = launcherIn(appendingPathComponent(path, "Contents/MacOS"));
    if (executable.empty()) {
        throw Refusal(request.output + " is not an application of this launcher, which is missing in Contents/MacOS");
    }
    if (machineOf(executable) != machineOf(platform::executablePath())) {
        throw Refusal(request.output + " is for another kind of machine than this one");
    }
    std::vector<const char *> arguments = {executable.c_str()};
    for (const std::string &argument : request.arguments) {
        arguments.push_back(argument.c_str());
    }
    platform::ProcessInfo::processInfo().setArguments(static_cast<int>(arguments.size()), arguments.data());
}

class Examination {
public:
    StartReport run() {
        attempt([this] { findRuntime(); });
        attempt([this] { readConfiguration(); });
        return std::move(report_);
    }

private:
    /// What would end a start with a notice is a problem here.
    void attempt(const auto &step) {
        try {
            step();
        } catch (const platform::Exception &exception) {
            const std::string reason = exception.what();
            if (report_.problems.empty() || report_.problems.back() != reason) {
                report_.problems.push_back(reason);
            }
        }
    }

    void findRuntime() {
        launcher_.looksOnly = true;
        launcher_.noteLeftOut = [this](const std::string &path, const std::string &reason) {
            const StartReport::LeftOut entry{path, reason};
            if (std::find(report_.leftOut.begin(), report_.leftOut.end(), entry) == report_.leftOut.end()) {
                report_.leftOut.push_back(entry);
            }
        };
        launcher_.checkpoint = raiseIfInterrupted;
        launcher_.isOneProcess = booleanValue(Bundle::mainBundle().infoDictionary(), "ksv.inProcess").value_or(false);
        RuntimeSource source = findRuntimeSource(launcher_);
        if (launcher_.isOneProcess && source.archive && !placeOf(*source.archive)) {
            launcher_.isOneProcess =
                false; // the program is a child then, which runtimes without a launch library can run
            launcher_.judged.clear();
            source = findRuntimeSource(launcher_);
        }
        if (source.runtime) {
            useRuntime(*source.runtime, launcher_.judged.back().place);
        } else if (source.archive) {
            useArchive(*source.archive);
        } else {
            report_.problems.emplace_back("no runtime suits");
        }
        if (!source.archive || !source.archive->isShipped) {
            judgeAll();
        }
        requireProgram();
    }

    /// Where the runtime is kept, or would be; empty if it would not.
    static std::optional<RuntimePlace> placeOf(const ArchivedRuntime &archive) {
        auto place = placeOfRuntime(archive.origin, archive.isShipped);
        const auto size = archive.isShipped ? expectedSize(archive.origin) : configuredSize();
        if (place && !place->store.look(place->name) && !place->store.objection(size.value_or(0)).empty()) {
            return std::nullopt;
        }
        return place;
    }

    /// The folder that the launcher would make for this start.
    std::string temporaryPlace(const ArchivedRuntime &archive) {
        std::string place = platform::temporaryDirectories().front();
        attempt([&] {
            const NeededRoom room =
                roomFor(archive.isShipped ? std::optional<std::int64_t>(expectedSize(archive.origin))
                                          : configuredSizeWithArchive());
            place = platform::TemporaryFolder::likelyPlace(room.wished, room.least);
        });
        return appendingPathComponent(place, "(a new folder)");
    }

    /// The archive has to be whole, and the one that is expected.
    void requireIntact(const std::string &archive) {
        if (const auto difference = differenceOfDigest(archive, raiseIfInterrupted)) {
            report_.problems.push_back("the SHA-256 of " + archive + " is " + difference->found + ", not " +
                                       difference->expected);
        } else if (const auto read = UnTar::examine(archive, raiseIfInterrupted); !read.complete) {
            report_.problems.push_back("could not extract the runtime: " + archive + ": " + read.reason);
        } else if (!read.holdsJava && !launcher_.isOneProcess) {
            report_.problems.push_back("the archive " + archive + " holds no runtime: bin/java is missing");
        }
    }

    void useRuntime(JavaRuntime runtime, const std::string &place) {
        report_.runtime = {runtime.javaBundlePath, runtime.javaVersion, place};
        if (!launcher_.judged.empty() && launcher_.judged.back().isOwn) {
            const std::string home = runtimeHome(runtime.javaBundlePath);
            for (const std::string &folder : {appendingPathComponent(home, "jre"), home}) {
                addPackedFiles(folder);
            }
        }
        launcher_.runtime = std::move(runtime);
    }

    void addPackedFiles(const std::string &home) {
        constexpr std::string_view suffix = ".pack";
        std::vector<std::string> files;
        for (const char *folder : {"lib", "lib/ext"}) {
            Unpacker::addPackedFiles(files, folder, home);
        }
        for (const std::string &file : files) {
            const std::string packed = appendingPathComponent(home, file);
            report_.obtains.push_back({packed, packed.substr(0, packed.size() - suffix.size())});
        }
    }

    void useArchive(const ArchivedRuntime &archive) {
        const auto place = placeOf(archive);
        const auto tarFile = archive.isShipped ? OptionalText(archive.origin) : std::nullopt;
        const std::string where = archive.isShipped ? archive.origin : platform::withoutSecrets(archive.origin);
        if (const auto kept = place ? place->store.look(place->name) : std::nullopt) {
            JavaRuntime runtime = Launcher::chosenRuntime(*kept, openRuntime(*kept).get());
            runtime.tarFile = tarFile;
            useRuntime(std::move(runtime), "kept from " + where);
            return;
        }
        const std::string folder = place ? place->store.placeOf(place->name) : temporaryPlace(archive);
        JavaRuntime runtime;
        runtime.javaBundlePath = appendingPathComponent(folder, "jre.bundle");
        runtime.tarFile = tarFile;
        std::string file = archive.origin;
        if (!archive.isShipped) {
            file = place ? place->store.archiveOf(place->name) : appendingPathComponent(folder, "jre.tar.gz");
            runtime.tarFile = place ? std::nullopt : OptionalText(file);
            report_.obtains.push_back({where, file});
        } else {
            requireIntact(file);
        }
        report_.obtains.push_back({file, runtime.javaBundlePath});
        isToBeObtained_ = true;
        useRuntime(std::move(runtime), "archive " + where);
    }

    /// Also looks at what the search leaves out because it has found a runtime.
    void judgeAll() {
        Launcher all;
        all.looksOnly = true;
        all.judgesAll = true;
        all.isOneProcess = launcher_.isOneProcess;
        all.checkpoint = raiseIfInterrupted;
        static_cast<void>(all.findJavaBundle(false));
        static_cast<void>(all.findJavaBundle(true));
        report_.candidates = std::move(all.judged);
    }

    /// The runtime's program, or its launch library, has to be there.
    void requireProgram() {
        if (!launcher_.runtime || isToBeObtained_) {
            return;
        }
        const std::string &path = launcher_.runtime->javaBundlePath;
        if (launcher_.isOneProcess) {
            const std::string library = launcher_.runtime->pluginUsed ? pluginLibraryPath() : launchLibraryPath(path);
            if (!platform::fileExistsAtPath(library) || !platform::loadsIntoThisProcess(library)) {
                report_.problems.push_back("the launch library of the runtime cannot be loaded: " + library);
            }
            return;
        }
        const std::string java = javaProgram(path);
        if (::access(java.c_str(), X_OK) != 0 || platform::directoryExistsAtPath(java)) {
            report_.problems.push_back("could not start " + java + ": " +
                                       std::generic_category().message(errno == 0 ? EACCES : errno));
        }
    }

    void readConfiguration() {
        prepareProcess();
        OriginCollector collector(report_);
        launcher_.noteOrigin = [&](auto part, const auto &value, const auto &origin) {
            collector.note(part, value, origin);
        };
        const JavaParameters parameters = launcher_.readJavaParameters();
        collector.finish();
        report_.mainClass = parameters.mainClass.value_or("");
        auto line = launcher_.commandLine(parameters);
        if (!report_.runtime) {
            return;
        }
        line.insert(line.begin(), javaProgram(report_.runtime->path));
        report_.commandLine = std::move(line);
        addUnreplaced(report_);
        examineMainClass(report_, parameters.options, launcher_.runtime->javaMajorVersion);
    }

    Launcher launcher_;
    StartReport report_;
    bool isToBeObtained_ = false;
};

} // namespace

StartReport examineStart(const Request &request) {
    platform::silenceLog(); // the report says what the log would
    speakFor(request);
    return Examination().run();
}

} // namespace kestrav::tools
