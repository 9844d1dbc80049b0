#pragma once

#include "platform/FileLock.h"

#include <cstdint>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

namespace kestrav::platform {

/// A folder of one run for what it extracts or downloads, in one of the user's folders for temporary files. Only the
/// user can read it. A lock in it tells other runs that it is in use, until this process and each child that was given
/// the lock have ended. What a killed run has left is removed by the same user's next one.
class TemporaryFolder {
public:
    /// Makes a folder in the first place that will do: nobody else can change what lies there, programs can be started
    /// from it, and it has room for so many bytes, or, if no place has, for the least number. Removes what killed runs
    /// have left. Throws an `Exception` that says of each place why it will not do.
    [[nodiscard]] static TemporaryFolder create(std::int64_t room, std::int64_t least);

    [[nodiscard]] const std::string &path() const { return path_; }

    /// The places that would not do, with the reasons; empty if the first one did.
    [[nodiscard]] const std::string &passedOver() const { return passedOver_; }

    /// What a child that uses the folder keeps open; -1 where the file system has no locks.
    [[nodiscard]] int lock() const { return lock_ ? lock_->descriptor() : -1; }

    /// Removes the folder with all it holds. What cannot be removed is left to a later run.
    std::error_code remove();

private:
    TemporaryFolder() = default;
    /// The reason if the place will not do, else empty.
    [[nodiscard]] std::string makeIn(const std::string &place, std::int64_t room);
    [[nodiscard]] bool makeInAny(const std::vector<std::string> &places, std::int64_t room);
    [[nodiscard]] std::error_code lockAndProbe(int parent, const std::string &name);
    [[nodiscard]] std::error_code tryToRemove();

    std::string path_;
    std::string passedOver_;
    std::optional<FileLock> lock_;
};

} // namespace kestrav::platform
