#include "platform/FileDescriptor.h"

#include "platform/uninterrupted.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>

namespace kestrav::platform {

namespace {

/// False with errno set if the receiver accepts nothing within that time.
bool awaitWritable(int descriptor, int milliseconds) {
    pollfd writable{descriptor, POLLOUT, 0};
    return uninterrupted([&] { return poll(&writable, 1, milliseconds); }) > 0;
}

} // namespace

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
    // Not repeated after EINTR: another thread may use the number by then. The caller's errno is kept, because it may
    // describe an earlier error.
    const int saved = errno;
    ::close(release());
    errno = saved;
}

bool FileDescriptor::close() {
    // An interrupted call has closed it all the same; whether anything failed is unknown.
    return ::close(release()) == 0 || errno == EINTR;
}

FileDescriptor FileDescriptor::open(const char *path, int flags, unsigned mode) {
    return openAt(AT_FDCWD, path, flags, mode);
}

FileDescriptor FileDescriptor::openAt(int directory, const char *path, int flags, unsigned mode) {
    return FileDescriptor(uninterrupted([&] { return ::openat(directory, path, flags | O_CLOEXEC, mode); }));
}

FileDescriptor FileDescriptor::openRegularFile(const std::string &path) {
    if (path.find('\0') != std::string::npos) {
        errno = ENOENT; // the system would use the part before the NUL as the path
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
    constexpr int forever = -1;
    while (!bytes.empty()) {
        const ssize_t written = uninterrupted([&] { return write(descriptor, bytes.data(), bytes.size()); });
        if (written >= 0) {
            bytes.remove_prefix(static_cast<std::size_t>(written));
        } else if ((errno != EAGAIN && errno != EWOULDBLOCK) || !awaitWritable(descriptor, forever)) {
            return false;
        }
    }
    return true;
}

bool writeWithin(int descriptor, std::string_view bytes, int milliseconds) {
    // A pipe that is reported as writable accepts this much without blocking.
    constexpr std::size_t pieceSize = PIPE_BUF;
    while (!bytes.empty()) {
        pollfd writable{descriptor, POLLOUT, 0};
        if (uninterrupted([&] { return poll(&writable, 1, milliseconds); }) == 0) {
            return false; // if poll itself fails, which only a fault of the system explains, writing is tried
        }
        const std::size_t size = std::min(bytes.size(), pieceSize);
        const ssize_t written = uninterrupted([&] { return write(descriptor, bytes.data(), size); });
        if (written >= 0) {
            bytes.remove_prefix(static_cast<std::size_t>(written));
        } else if (errno != EAGAIN && errno != EWOULDBLOCK) {
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
        // It gets this number, the lowest free one, because those below are open. Children inherit it, so it is not
        // close-on-exec.
        static_cast<void>(uninterrupted([] { return ::open("/dev/null", O_RDWR); }));
    }
}

} // namespace kestrav::platform
