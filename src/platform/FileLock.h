#pragma once

#include "platform/FileDescriptor.h"

#include <functional>
#include <optional>
#include <string>
#include <system_error>
#include <utility>

namespace kestrav::platform {

/// A lock on a file, by which processes agree on the use of what lies beside it. It is held until this object and every
/// child that was given the descriptor (`Task::keepOpen`) have ended, however they end.
class FileLock {
public:
    enum class Mode { shared, exclusive };

    /// Takes the lock of the file at a path, which is created if it is missing, for the user alone. Empty with errno
    /// set if that fails; EWOULDBLOCK if another process holds it.
    [[nodiscard]] static std::optional<FileLock> tryLock(const std::string &path, Mode mode);

    /// The same, but waits for other processes. `checkpoint` is called repeatedly during the wait; what it throws
    /// passes through.
    [[nodiscard]] static std::optional<FileLock> lock(const std::string &path, Mode mode,
                                                      const std::function<void()> &checkpoint);

    /// Takes the lock of an open file or folder if it is free. Empty with errno set if that fails.
    [[nodiscard]] static std::optional<FileLock> take(FileDescriptor file, Mode mode);

    [[nodiscard]] int descriptor() const { return file_.get(); }

    /// Holds the lock also when this process executes another file, and in children that leave descriptors open.
    [[nodiscard]] std::error_code keepThroughExecution() const;

    /// False if the file was removed or replaced, so that others would lock a different one.
    [[nodiscard]] bool isAt(const std::string &path) const;

private:
    explicit FileLock(FileDescriptor file) : file_(std::move(file)) {}

    FileDescriptor file_;
};

} // namespace kestrav::platform
