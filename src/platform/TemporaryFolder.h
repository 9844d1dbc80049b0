#pragma once

#include "platform/Exception.h"
#include "platform/FileDescriptor.h"
#include "platform/FileLock.h"

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

namespace kestrav::platform {

/// Thrown if at least one folder for temporary files is suitable but too full.
class NoRoom final : public Exception {
public:
    NoRoom(const std::string &reason, std::string folder, std::int64_t needed, std::int64_t available)
        : Exception("TemporaryDirectoryException", reason), folder_(std::move(folder)), needed_(needed),
          available_(available) {}

    /// The one of these folders that has the most room.
    [[nodiscard]] const std::string &folder() const { return folder_; }
    [[nodiscard]] std::int64_t needed() const { return needed_; }       ///< bytes
    [[nodiscard]] std::int64_t available() const { return available_; } ///< bytes, in that folder

private:
    std::string folder_;
    std::int64_t needed_;
    std::int64_t available_;
};

/// What proved to fit into folders for temporary files, in bytes, where the system promises more.
using KnownRoom = std::map<std::string, std::int64_t>;

/// A folder for what one run extracts or downloads, in one of the user's folders for temporary files. Only the user can
/// read it. A lock in it tells other runs that it is in use, until this process and each child that was given the lock
/// have ended. What a killed run leaves behind is removed by the same user's next run.
class TemporaryFolder {
public:
    /// Creates a folder in the first suitable place: one where nobody else can change files, from which programs can be
    /// started, and which has room for `room` bytes or, if no place has, for `least` bytes. Removes what killed runs
    /// have left. Throws an `Exception` that says why each place is unsuitable: a `NoRoom` if one is only too full.
    [[nodiscard]] static TemporaryFolder create(std::int64_t room, std::int64_t least, const KnownRoom &knownRoom = {});

    /// The place where `create` would create one, as far as a look tells. Changes nothing. Throws as `create` does.
    [[nodiscard]] static std::string likelyPlace(std::int64_t room, std::int64_t least);

    /// Removes what killed runs have left.
    static void removeAbandoned();

    [[nodiscard]] const std::string &path() const { return path_; }

    /// The unsuitable places, with the reasons; empty if the first one was suitable.
    [[nodiscard]] const std::string &passedOver() const { return passedOver_; }

    /// The descriptor that a child using the folder has to keep open; -1 where the file system has no locks.
    [[nodiscard]] int lock() const { return lock_ ? lock_->descriptor() : -1; }

    /// Removes the folder with all it holds. What cannot be removed is left to a later run.
    std::error_code remove();

private:
    TemporaryFolder() = default;
    /// Empty on success, else the reason why the place is unsuitable.
    [[nodiscard]] std::string makeIn(const std::string &place, std::int64_t room, const KnownRoom &knownRoom);
    /// The same without making anything.
    [[nodiscard]] std::string lookAt(const std::string &place, std::int64_t room);
    [[nodiscard]] std::string lackOfRoomIn(const FileDescriptor &directory, const std::string &place, std::int64_t room,
                                           const KnownRoom &knownRoom);
    /// Tries each place, first with as much room as is wished for. Throws if none will do.
    using Attempt = std::function<std::string(const std::string &place, std::int64_t room)>;
    void tryEach(std::int64_t room, std::int64_t least, const Attempt &attempt);
    [[nodiscard]] bool anyWillDo(const std::vector<std::string> &places, std::int64_t room, const Attempt &attempt);
    [[nodiscard]] std::error_code lockAndProbe(int parent, const std::string &name);
    [[nodiscard]] std::error_code tryToRemove();

    std::string path_;
    std::string passedOver_;
    std::string roomiest_; ///< of the places with too little room, the one that has the most
    std::int64_t mostRoom_ = 0;
    std::optional<FileLock> lock_;
};

} // namespace kestrav::platform
