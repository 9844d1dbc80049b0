#pragma once

#include "platform/Signals.h"
#include "platform/StandardInput.h"
#include "platform/Task.h"

#include <cstdint>
#include <string>
#include <vector>

namespace kestrav {

/// The Java program as a child process. Our standard input goes through a pipe to it; it inherits everything else.
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

    /// Passes a signal on. One that the terminal sent to the whole group has reached the child already. Any thread,
    /// after `start`.
    void passOn(platform::TerminationSignal signal);

private:
    platform::Task task_;
    platform::InputForwarding input_;
    std::int64_t started_ = 0; // monotonic nanoseconds, once the child was there
};

} // namespace kestrav
