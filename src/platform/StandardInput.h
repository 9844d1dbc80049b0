#pragma once

#include "platform/FileDescriptor.h"

namespace kestrav::platform {

/// Forwards this process's standard input to a pipe on a thread of its own, byte for byte and in order, until its end
/// or until nobody reads the pipe any more; then closes the pipe. The thread ends with the process at the latest: it
/// may wait for input, or for a reader, for ever. A process in the terminal's background waits until it is in the
/// foreground. Throws `std::system_error` if there is no thread to be had.
void forwardStandardInput(FileDescriptor pipe);

} // namespace kestrav::platform
