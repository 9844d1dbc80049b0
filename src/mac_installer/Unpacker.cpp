#include "mac_installer/Unpacker.h"

#include "mac_installer/Cancellation.h"
#include "mac_installer/global.h"
#include "platform/Task.h"
#include "platform/path.h"

#include <csignal>
#include <fcntl.h>
#include <mutex>

namespace kestrav {

using platform::appendingPathComponent;
using platform::FileManager;

namespace {

constexpr std::string_view packedSuffix = ".pack";
constexpr std::string_view packedJarSuffix = ".jar.pack";

/// The tool that runs now, so that a cancel on another thread can end it.
class RunningTool {
public:
    /// Runs a tool to its end and returns its exit status.
    int run(platform::Task &tool) {
        {
            const std::lock_guard lock(mutex_);
            if (cancelled_) {
                raiseCancelled();
            }
            // Neither our standard input nor the terminal's signals are the tool's: a cancel ends it, and whatever it
            // started.
            const auto nothing = platform::FileDescriptor::open("/dev/null", O_RDONLY);
            tool.setStandardInput(nothing.get());
            tool.setOwnGroup();
            tool.launch();
            tool_ = &tool;
        }
        tool.waitUntilExit();
        const std::lock_guard lock(mutex_);
        tool_ = nullptr;
        if (cancelled_) {
            raiseCancelled();
        }
        return tool.terminationStatus();
    }

    void cancel() {
        const std::lock_guard lock(mutex_);
        cancelled_ = true;
        if (tool_ != nullptr) {
            tool_->sendSignal(SIGKILL); // a tool that hangs may not listen to anything milder
        }
    }

private:
    std::mutex mutex_;
    platform::Task *tool_ = nullptr;
    bool cancelled_ = false;
};

RunningTool &runningTool() {
    static RunningTool tool;
    return tool;
}

} // namespace

void Unpacker::addPackedFiles(std::vector<std::string> &files, const std::string &subDir, const std::string &jreDir,
                              const FileManager &fileManager) {
    const auto names = fileManager.contentsOfDirectoryAtPath(appendingPathComponent(jreDir, subDir));
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
    const FileManager fileManager;
    const std::string tool = appendingPathComponent(runtimeDirectory, "bin/unpack200");

    std::vector<std::string> files;
    addPackedFiles(files, "lib", runtimeDirectory, fileManager);
    addPackedFiles(files, "lib/ext", runtimeDirectory, fileManager);
    _DLog("%s [Line %d] found %@", signature, 23, files);

    double percentage = 0.0;
    for (const std::string &file : files) {
        const std::string packed = appendingPathComponent(runtimeDirectory, file);
        if (fileManager.fileExistsAtPath(packed)) {
            _DLog("%s [Line %d] unpacking %@", signature, 30, file);
            // "-r": the tool removes the packed file once it has unpacked it.
            platform::Task task(tool, {"-r", packed, packed.substr(0, packed.size() - packedSuffix.size())});
            if (runningTool().run(task) != 0) {
                platform::Log("%s [Line %d] Unpack task failed.", signature, 35);
                return false;
            }
        }
        if (progress) {
            percentage += 100.0 / static_cast<double>(files.size());
            progress(percentage, std::nullopt);
        }
    }
    return true;
}

void Unpacker::cancel() {
    runningTool().cancel();
}

} // namespace kestrav
