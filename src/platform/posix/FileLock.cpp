#include "platform/FileLock.h"

#include "platform/posix/directory.h"
#include "platform/uninterrupted.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <cerrno>
#include <chrono>
#include <thread>

namespace kestrav::platform {

bool FileLock::isAt(const std::string &path) const {
    struct stat found {};
    const auto identity = identityOf(file_);
    return ::lstat(path.c_str(), &found) == 0 && identity == FileIdentity{found.st_dev, found.st_ino};
}

std::optional<FileLock> FileLock::tryLock(const std::string &path, Mode mode) {
    // A holder may remove the file before it releases the lock, but that does not happen many times in a row.
    constexpr int attempts = 100;
    for (int attempt = 0; attempt < attempts; ++attempt) {
        constexpr int flags = O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK;
        FileDescriptor file = FileDescriptor::open(path.c_str(), flags, S_IRUSR | S_IWUSR);
        if (!file.valid()) {
            return std::nullopt;
        }
        auto lock = take(std::move(file), mode);
        if (!lock || lock->isAt(path)) {
            return lock;
        }
    }
    errno = EWOULDBLOCK;
    return std::nullopt;
}

std::optional<FileLock> FileLock::lock(const std::string &path, Mode mode, const std::function<void()> &checkpoint) {
    constexpr std::chrono::milliseconds interval{20};
    for (;;) {
        auto lock = tryLock(path, mode);
        if (lock || errno != EWOULDBLOCK) {
            return lock;
        }
        checkpoint();
        std::this_thread::sleep_for(interval);
    }
}

std::optional<FileLock> FileLock::take(FileDescriptor file, Mode mode) {
    const int operation = (mode == Mode::shared ? LOCK_SH : LOCK_EX) | LOCK_NB;
    const bool taken = uninterrupted([&] { return ::flock(file.get(), operation); }) == 0;
    return taken ? std::optional(FileLock(std::move(file))) : std::nullopt;
}

std::error_code FileLock::keepThroughExecution() const {
    return ::fcntl(file_.get(), F_SETFD, 0) == 0 ? std::error_code() : lastError();
}

} // namespace kestrav::platform
