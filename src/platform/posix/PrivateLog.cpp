#include "platform/PrivateLog.h"

#include "platform/FileDescriptor.h"
#include "platform/FileLock.h"
#include "platform/PrivateFolder.h"
#include "platform/path.h"
#include "platform/uninterrupted.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <optional>

namespace kestrav::platform {

namespace {

/// Opens the log alone; empty with errno set if that fails.
std::optional<FileLock> openAlone(const std::string &path) {
    constexpr std::int64_t interval = 20'000; // microseconds
    constexpr int attempts = 50;              // those that write hold the log for an instant only
    auto log = FileLock::tryLock(path, FileLock::Mode::exclusive);
    for (int attempt = 1; !log && errno == EWOULDBLOCK && attempt < attempts; ++attempt) {
        sleepMicroseconds(interval);
        log = FileLock::tryLock(path, FileLock::Mode::exclusive);
    }
    return log;
}

/// The size of a regular file; empty with errno set for anything else.
std::optional<off_t> sizeOf(const FileLock &log) {
    struct stat found {};
    if (::fstat(log.descriptor(), &found) != 0) {
        return std::nullopt;
    }
    if (!S_ISREG(found.st_mode)) {
        errno = EINVAL;
        return std::nullopt;
    }
    return found.st_size;
}

/// Writes behind what is there: the whole record, or nothing.
std::error_code append(const FileLock &log, off_t size, std::string_view record) {
    const int file = log.descriptor();
    if (::fchmod(file, S_IRUSR | S_IWUSR) == 0 && ::lseek(file, size, SEEK_SET) == size && writeAll(file, record)) {
        return {};
    }
    const std::error_code error = lastError();
    static_cast<void>(
        uninterrupted([&] { return ::ftruncate(file, size); })); // the first failure is the one that counts
    return error;
}

} // namespace

std::error_code appendToPrivateLog(const std::string &path, std::string_view record) {
    const std::string folder = deletingLastPathComponent(path);
    if (const auto error = makePrivateFolder(folder)) {
        return error;
    }
    if (!objectionToPrivateFolder(folder).empty()) {
        return std::make_error_code(std::errc::permission_denied);
    }
    record = record.substr(0, privateLogLimit);
    auto log = openAlone(path);
    auto size = log ? sizeOf(*log) : std::nullopt;
    if (size && static_cast<std::size_t>(*size) + record.size() > privateLogLimit) {
        if (std::rename(path.c_str(), (path + ".1").c_str()) != 0) {
            return lastError();
        }
        log = openAlone(path);
        size = log ? sizeOf(*log) : std::nullopt;
    }
    return size ? append(*log, *size, record) : lastError();
}

} // namespace kestrav::platform
