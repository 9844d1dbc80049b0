#include "platform/FileDescriptor.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>

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
    ::close(release());
    errno = saved;
}

bool FileDescriptor::close() {
    // Interrupted, it is closed all the same, and what could still fail is not known.
    return ::close(release()) == 0 || errno == EINTR;
}

FileDescriptor FileDescriptor::open(const char *path, int flags, unsigned mode) {
    return openAt(AT_FDCWD, path, flags, mode);
}

FileDescriptor FileDescriptor::openAt(int directory, const char *path, int flags, unsigned mode) {
    int descriptor = -1;
    do {
        descriptor = ::openat(directory, path, flags | O_CLOEXEC, mode);
    } while (descriptor < 0 && errno == EINTR);
    return FileDescriptor(descriptor);
}

FileDescriptor FileDescriptor::openRegularFile(const std::string &path) {
    if (path.find('\0') != std::string::npos) {
        errno = ENOENT; // the system would take the part before it for the path
        return {};
    }
    FileDescriptor file = open(path.c_str(), O_RDONLY | O_NONBLOCK);
    struct stat found {};
    if (file.valid() && ::fstat(file.get(), &found) != 0) {
        file.reset();
    } else if (file.valid() && !S_ISREG(found.st_mode)) {
        file.reset();
        errno = S_ISDIR(found.st_mode) ? EISDIR : EINVAL;
    }
    return file;
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

bool writeWithin(int descriptor, std::string_view bytes, int milliseconds) {
    // A pipe that polls as writable takes this much without blocking.
    constexpr std::size_t pieceSize = PIPE_BUF;
    while (!bytes.empty()) {
        pollfd writable{descriptor, POLLOUT, 0};
        const int ready = poll(&writable, 1, milliseconds);
        if (ready == 0 || (ready < 0 && errno != EINTR)) {
            return false;
        }
        if (ready < 0) {
            continue;
        }
        const ssize_t written = write(descriptor, bytes.data(), std::min(bytes.size(), pieceSize));
        if (written >= 0) {
            bytes.remove_prefix(static_cast<std::size_t>(written));
        } else if (errno != EAGAIN && errno != EWOULDBLOCK && errno != EINTR) {
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
