#pragma once

#include "platform/FileDescriptor.h"

#include <sys/types.h>

#include <array>
#include <mutex>
#include <string>
#include <vector>

namespace kestrav::platform {

/// A pipe whose two ends are close-on-exec.
class Pipe {
public:
    /// Throws an `Exception` when the system has no descriptors left.
    Pipe();
    FileDescriptor readEnd;
    FileDescriptor writeEnd;
};

/// One child process. It starts with default signal dispositions (signals that were ignored when this process started
/// stay ignored), an empty signal mask, this process's copy of the environment (`ProcessInfo`) and working directory,
/// and no descriptor of ours except its standard three and the one that it is to keep.
class Task {
public:
    Task(std::string launchPath, std::vector<std::string> arguments);
    Task(const Task &) = delete;
    Task &operator=(const Task &) = delete;
    /// Kills and reaps a child that nobody has waited for.
    ~Task();

    /// The child's standard input; without it the child inherits ours. The descriptor must stay open until `launch`.
    void setStandardInput(int descriptor) { standard_[0] = descriptor; }
    /// The same for its standard output and standard error.
    void setStandardOutput(int descriptor) { standard_[1] = descriptor; }
    void setStandardError(int descriptor) { standard_[2] = descriptor; }

    /// Puts the child into a process group of its own: the terminal's signals do not reach it, and `sendSignal` reaches
    /// its children as well.
    void setOwnGroup() { ownGroup_ = true; }

    /// Passes one more descriptor to the child, such as that of a lock that is held for as long as the child lives. -1
    /// for none. In the child it has the number `keptDescriptor`.
    void keepOpen(int descriptor) { kept_ = descriptor; }
    static constexpr int keptDescriptor = 3;

    /// Starts the child. Throws an `Exception` that names the path and the system's reason when it cannot be started.
    void launch();

    /// Leaves the child to itself: it is neither ended nor waited for any more. After `launch`.
    void leave();

    /// True once the child has exited, so that `waitUntilExit` returns at once. After `launch`.
    [[nodiscard]] bool hasExited() const;

    /// Blocks until the child has exited. Called once, after `launch`.
    void waitUntilExit();

    /// The child's exit status, or 128 plus the signal's number where one ended it. After `waitUntilExit`.
    [[nodiscard]] int terminationStatus() const { return status_; }

    /// The child's process id. After `launch`.
    [[nodiscard]] int processIdentifier() const { return pid_; }

    /// Sends a signal to the child; does nothing before `launch` or once it has been waited for. Any thread.
    void sendSignal(int signal);

private:
    [[nodiscard]] std::string reason(int error) const;

    std::string launchPath_;
    std::vector<std::string> arguments_;
    std::array<int, 3> standard_{-1, -1, -1}; // below zero: ours
    int kept_ = -1;
    bool ownGroup_ = false;
    std::mutex mutex_; // guards pid_ against being signalled after it was reaped
    pid_t pid_ = -1;
    bool reaped_ = false;
    int status_ = -1;
};

} // namespace kestrav::platform
