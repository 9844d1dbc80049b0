#pragma once

#include "platform/FileDescriptor.h"

#include <memory>

namespace kestrav::platform {

/// Hands this process's standard input on to a pipe, byte for byte and in order, until its end or until nobody reads
/// the pipe any more; then closes the pipe. Other processes may share the input (a shell's loop over lines), so as
/// little as possible is taken from it. From a file or, on Linux, a pipe only what the reader of the pipe has read is
/// taken; from anything else one read at a time, and nothing without a reader. A process in the terminal's background
/// waits until it is in the foreground.
class InputForwarding {
public:
    InputForwarding() = default;

    /// Creates the forwarding thread, which may wait for input until the process ends. Throws `std::system_error` if no
    /// thread can be created.
    void prepare(FileDescriptor pipe);

    /// Begins forwarding. To be called once the pipe has a reader.
    void begin();

    /// Ends forwarding: from now on nothing is taken from the input except what the reader of the pipe has already
    /// read. To be called after `begin`.
    void end();

private:
    class State;
    std::shared_ptr<State> state_; // the thread's too, which may outlive this object
};

/// Blocks until the other end of this process's standard input, a pipe, is closed everywhere; what comes from it
/// meanwhile is thrown away.
void awaitEndOfStandardInput();

} // namespace kestrav::platform
