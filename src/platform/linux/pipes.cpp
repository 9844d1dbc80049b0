#include "platform/posix/pipes.h"

#include <fcntl.h>
#include <sys/ioctl.h>

#include <cstddef>

namespace kestrav::platform {

ssize_t copyPipe(int from, int to) {
    constexpr std::size_t asMuchAsItHolds = 1U << 20U;
    return tee(from, to, asMuchAsItHolds, SPLICE_F_NONBLOCK);
}

int unreadBytes(int writeEnd) {
    int count = 0;
    return ioctl(writeEnd, FIONREAD, &count) == 0 ? count : -1;
}

} // namespace kestrav::platform
