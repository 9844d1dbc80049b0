#include "platform/posix/pipes.h"

#include <cerrno>

namespace kestrav::platform {

ssize_t copyPipe(int /*from*/, int /*to*/) {
    errno = ENOSYS;
    return -1;
}

int unreadBytes(int /*writeEnd*/) {
    return -1; // the system tells it at the read end alone, which is the child's
}

} // namespace kestrav::platform
