#pragma once

#include "platform/ErrorCopy.h"
#include "platform/Signals.h"
#include "platform/StandardInput.h"
#include "platform/Task.h"

#include <atomic>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace kestrav {

/// The Java program as a child process. Our standard input goes through a pipe to it, and its standard error through
/// one to ours if a start that fails is to be explained; it inherits everything else.
class JavaProcess {
public:
    /// `launchPath` is the runtime's bin/java.
    JavaProcess(std::string launchPath, std::vector<std::string> arguments);

    /// A descriptor that the child keeps open, or -1. Before `start`.
    void keepOpen(int descriptor) { task_.keepOpen(descriptor); }

    /// Starts the child and the forwarding of standard input. Raises if it cannot be started.
    void start();

    /// Blocks until the child has ended: its exit status, or 128 plus the number of the signal that ended it.
    [[nodiscard]] int waitForExit();

    /// The child's process id. After `start`.
    [[nodiscard]] int processIdentifier() const { return task_.processIdentifier(); }

    /// Of a child that has not come up, and was not ended by a signal that was passed on, the last of what it wrote to
    /// standard error, where nobody sees that otherwise. Once, after `waitForExit`.
    [[nodiscard]] std::optional<std::string> errorsOfEarlyEnd();

    /// Passes a signal on. One that the terminal sent to the whole group has reached the child already. Any thread,
    /// after `start`.
    void passOn(platform::TerminationSignal signal);

private:
    void copyErrors();

    platform::Task task_;
    platform::InputForwarding input_;
    std::optional<platform::ErrorCopy> errors_; // of a child whose start is explained, if there is a process to spare
    bool explains_ = false;
    std::atomic<bool> signalled_ = false;
    std::int64_t started_ = 0; // monotonic nanoseconds, once the child was there
    std::int64_t ended_ = 0;
};

} // namespace kestrav
