#pragma once

#include <sys/types.h>

namespace kestrav::platform {

/// Copies what a pipe holds into another one without taking it from the first. Never blocks. The number of bytes, 0 at
/// the first one's end, or -1 with errno set: EAGAIN if there is nothing to copy, ENOSYS or EINVAL where the system
/// cannot do it.
[[nodiscard]] ssize_t copyPipe(int from, int to);

/// How many bytes in a pipe nobody has read yet, asked at its write end; below 0 where the system does
/// not tell.
[[nodiscard]] int unreadBytes(int writeEnd);

} // namespace kestrav::platform
