#pragma once

#include "platform/FileDescriptor.h"

#include <memory>

namespace kestrav::platform {

/// Hands this process's standard input on to a pipe, byte for byte and in order, until its end or until nobody reads
/// the pipe any more; then closes the pipe. Others may share the input (a shell's loop over lines), so as little as
/// possible is taken from it: nothing that the reader of the pipe has not read, where the input is a file or, on Linux,
/// a pipe; elsewhere one read at a time, and none without a reader. A process in the terminal's background waits until
/// it is in the foreground.
class InputForwarding {
public:
    InputForwarding() = default;

    /// Makes the thread for it, which ends with the process at the latest: it may wait for input for ever. Throws
    /// `std::system_error` if there is none to be had.
    void prepare(FileDescriptor pipe);

    /// Begins, once there is a reader.
    void begin();

    /// Nothing is taken from the input any more, but for what the reader of the pipe has read. After `begin`.
    void end();

private:
    class State;
    std::shared_ptr<State> state_; // the thread's too, which may outlive this object
};

} // namespace kestrav::platform
