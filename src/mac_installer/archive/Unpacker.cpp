#include "mac_installer/archive/Unpacker.h"

#include "mac_installer/archive/Cancellation.h"
#include "platform/DebugLog.h"
#include "platform/FileLock.h"
#include "platform/FileManager.h"
#include "platform/Task.h"
#include "platform/path.h"

#include <algorithm>
#include <atomic>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <memory>
#include <mutex>

namespace kestrav {

using platform::appendingPathComponent;

namespace {

using Names = std::vector<std::string>;

constexpr std::string_view packedSuffix = ".pack";
constexpr std::string_view packedJarSuffix = ".jar.pack";
/// The suffix of a jar's name while the tool writes it. The jar gets its own name when it is complete.
constexpr std::string_view partSuffix = ".part";
constexpr std::string_view partJarSuffix = ".jar.part";

/// The tool that is running, so that a cancel on another thread can end it.
class RunningTool {
public:
    /// Runs a tool to its end and returns its exit status.
    int run(platform::Task &tool) {
        {
            const std::lock_guard lock(mutex_);
            raiseIfCancelled();
            // The tool gets neither our standard input nor the terminal's signals. A cancel ends it and everything that
            // it started.
            const auto nothing = platform::FileDescriptor::open("/dev/null", O_RDONLY);
            tool.setStandardInput(nothing.get());
            tool.setOwnGroup();
            tool.launch();
            tool_ = &tool;
        }
        tool.waitUntilExit();
        const std::lock_guard lock(mutex_);
        tool_ = nullptr;
        raiseIfCancelled();
        return tool.terminationStatus();
    }

    void raiseIfCancelled() const {
        if (cancelled_) {
            raiseCancelled();
        }
    }

    void cancel() {
        const std::lock_guard lock(mutex_);
        cancelled_ = true;
        if (tool_ != nullptr) {
            tool_->sendSignal(SIGKILL); // a tool that hangs may ignore anything milder
        }
    }

private:
    std::mutex mutex_;
    platform::Task *tool_ = nullptr;
    std::atomic<bool> cancelled_ = false;
};

RunningTool &runningTool() {
    static RunningTool tool;
    return tool;
}

/// A lock that keeps other processes from unpacking the same runtime at the same time: each waits for the other.
/// Without permission to write to the folder there is no lock.
class RuntimeLock {
public:
    explicit RuntimeLock(const std::string &runtimeDirectory)
        : path_(appendingPathComponent(runtimeDirectory, ".kestrav-lock")),
          lock_(platform::FileLock::lock(path_, platform::FileLock::Mode::exclusive,
                                         [] { runningTool().raiseIfCancelled(); })) {}
    RuntimeLock(const RuntimeLock &) = delete;
    RuntimeLock &operator=(const RuntimeLock &) = delete;
    ~RuntimeLock() {
        if (lock_) {
            platform::removeItemAtPath(path_);
        }
    }

private:
    std::string path_;
    std::optional<platform::FileLock> lock_;
};

/// Gives a complete jar its name, unless another process has done so.
bool finish(const std::string &jar) {
    std::error_code error;
    std::filesystem::rename(jar + std::string(partSuffix), jar, error);
    return !error || error == std::errc::no_such_file_or_directory;
}

/// Unpacks one file; false if the tool fails.
bool unpackFile(const std::string &tool, const std::string &packed) {
    const std::string jar = packed.substr(0, packed.size() - packedSuffix.size());
    const std::string part = jar + std::string(partSuffix);
    // "-r": the tool removes the packed file once it has unpacked it.
    platform::Task task(tool, {"-r", packed, part});
    if (runningTool().run(task) != 0) {
        platform::removeItemAtPath(part);
        return false;
    }
    return finish(jar);
}

/// Gives jars their names if a run was killed between the end of the tool and that step. The packed file is then
/// already gone.
void finishInterrupted(const std::string &directory) {
    for (const std::string &name : platform::contentsOfDirectoryAtPath(directory).value_or(Names())) {
        const std::string jar =
            appendingPathComponent(directory, name.substr(0, name.size() - std::min(name.size(), partSuffix.size())));
        if (name.ends_with(partJarSuffix) && !platform::fileExistsAtPath(jar) &&
            !platform::fileExistsAtPath(jar + std::string(packedSuffix))) {
            static_cast<void>(finish(jar));
        }
    }
}

} // namespace

void Unpacker::addPackedFiles(std::vector<std::string> &files, const std::string &subDir, const std::string &jreDir) {
    const auto names = platform::contentsOfDirectoryAtPath(appendingPathComponent(jreDir, subDir));
    if (!names) {
        return;
    }
    for (const std::string &name : *names) {
        if (name.ends_with(packedJarSuffix)) {
            files.push_back(platform::format("%@/%@", subDir, name));
        }
    }
}

bool Unpacker::unpack(const std::string &runtimeDirectory, const ProgressCallback &progress) {
    static constexpr const char *signature = "+[Unpacker unpack:withProgress:]";
    const std::string tool = appendingPathComponent(runtimeDirectory, "bin/unpack200");

    std::vector<std::string> files;
    addPackedFiles(files, "lib", runtimeDirectory);
    addPackedFiles(files, "lib/ext", runtimeDirectory);
    _DLog("%s [Line %d] found %@", signature, 23, files);

    const auto lock = files.empty() ? nullptr : std::make_unique<RuntimeLock>(runtimeDirectory);
    double percentage = 0.0;
    for (const std::string &file : files) {
        const std::string packed = appendingPathComponent(runtimeDirectory, file);
        if (platform::fileExistsAtPath(packed)) {
            _DLog("%s [Line %d] unpacking %@", signature, 30, file);
            if (!unpackFile(tool, packed)) {
                platform::Log("%s [Line %d] Unpack task failed.", signature, 35);
                return false;
            }
        }
        if (progress) {
            percentage += 100.0 / static_cast<double>(files.size());
            progress(percentage);
        }
    }
    for (const char *subDir : {"lib", "lib/ext"}) {
        finishInterrupted(appendingPathComponent(runtimeDirectory, subDir));
    }
    return true;
}

void Unpacker::cancel() {
    runningTool().cancel();
}

} // namespace kestrav
