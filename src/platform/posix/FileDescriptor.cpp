#include "platform/FileDescriptor.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>

namespace kestrav::platform {

FileDescriptor &FileDescriptor::operator=(FileDescriptor &&other) noexcept {
    if (this != &other) {
        reset();
        descriptor_ = std::exchange(other.descriptor_, -1);
    }
    return *this;
}

void FileDescriptor::reset() {
    if (descriptor_ < 0) {
        return;
    }
    // Not repeated after EINTR: the number may belong to another thread by then. The caller's errno tells of what
    // went wrong before.
    const int saved = errno;
    close(std::exchange(descriptor_, -1));
    errno = saved;
}

FileDescriptor FileDescriptor::open(const char *path, int flags, unsigned mode) {
    int descriptor = -1;
    do {
        descriptor = ::open(path, flags | O_CLOEXEC, mode);
    } while (descriptor < 0 && errno == EINTR);
    return FileDescriptor(descriptor);
}

bool writeAll(int descriptor, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written = write(descriptor, bytes.data(), bytes.size());
        if (written >= 0) {
            bytes.remove_prefix(static_cast<std::size_t>(written));
        } else if (errno == EAGAIN || errno == EWOULDBLOCK) {
            pollfd writable{descriptor, POLLOUT, 0};
            if (poll(&writable, 1, -1) < 0 && errno != EINTR) {
                return false;
            }
        } else if (errno != EINTR) {
            return false;
        }
    }
    return true;
}

void ensureStandardDescriptors() {
    for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
        if (fcntl(descriptor, F_GETFD) >= 0 || errno != EBADF) {
            continue;
        }
        // The lowest free number is this one, for those below it are open. Children inherit it, so no close-on-exec.
        while (::open("/dev/null", O_RDWR) < 0 && errno == EINTR) {
        }
    }
}

} // namespace kestrav::platform
