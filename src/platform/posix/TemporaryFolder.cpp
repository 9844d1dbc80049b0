#include "platform/TemporaryFolder.h"

#include "platform/Exception.h"
#include "platform/FileManager.h"
#include "platform/PrivateFolder.h"
#include "platform/ProcessInfo.h"
#include "platform/format.h"
#include "platform/path.h"
#include "platform/posix/directory.h"
#include "platform/uninterrupted.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <iterator>
#include <limits>
#include <new>
#include <string_view>
#include <utility>

namespace kestrav::platform {

namespace {

constexpr const char *lockName = ".kestrav-lock";
/// The lock file's name until it is locked, so that no other run mistakes the folder for an abandoned one.
constexpr const char *newLockName = ".kestrav-lock-new";
constexpr mode_t ownerOnly = 0700;
/// After this many seconds a folder without a lock is abandoned, because a run creates the lock at once.
constexpr std::time_t secondsUntilAbandoned = 600;

/// Why other users could replace files in a directory; empty if they cannot.
std::string objectionToOwner(const FileDescriptor &directory) {
    struct stat found {};
    if (::fstat(directory.get(), &found) != 0) {
        return lastError().message();
    }
    if (found.st_uid != ::geteuid() && found.st_uid != 0) {
        return "it belongs to another user";
    }
    // The two numbers are the same where every user has a group of their own.
    const bool ownGroup = found.st_gid == found.st_uid;
    const mode_t others = ownGroup ? S_IWOTH : S_IWOTH | S_IWGRP;
    return (found.st_mode & others) != 0 && (found.st_mode & S_ISVTX) == 0 ? "other users can change what lies there"
                                                                           : "";
}

/// True for names like those that runs give to their folders.
bool isNameOfRunFolder(std::string_view name) {
    constexpr std::size_t dashes[] = {8, 13, 18, 23, 36};
    return std::all_of(std::begin(dashes), std::end(dashes),
                       [&](std::size_t at) { return at < name.size() && name[at] == '-'; });
}

/// Removes the contents of a run's folder except the lock file, by which a later run recognises the folder.
std::error_code removeContents(const FileDescriptor &folder) {
    std::error_code error;
    for (const std::string &entry : directoryNames(folder).value_or(std::vector<std::string>())) {
        const std::error_code failure = entry == lockName ? std::error_code() : removeTree(folder.get(), entry.c_str());
        error = error ? error : failure;
    }
    return error;
}

/// Takes the lock in a run's folder, unless another process holds it.
std::optional<FileLock> takeLock(const FileDescriptor &folder, const char *name) {
    FileDescriptor file = FileDescriptor::openAt(folder.get(), name, O_RDWR | O_NOFOLLOW | O_NONBLOCK);
    return file.valid() ? FileLock::take(std::move(file), FileLock::Mode::exclusive) : std::nullopt;
}

/// Removes the folders of killed runs, including runs that were killed before their lock was in its place. The next run
/// tries again whatever fails.
void removeAbandonedFolders(const std::string &place) {
    const FileDescriptor directory = openDirectory(AT_FDCWD, place, true);
    if (!directory.valid() || !objectionToOwner(directory).empty()) {
        return;
    }
    for (const std::string &name : directoryNames(directory).value_or(std::vector<std::string>())) {
        const FileDescriptor folder = isNameOfRunFolder(name) ? openDirectory(directory.get(), name) : FileDescriptor();
        struct stat found {};
        if (!folder.valid() || ::fstat(folder.get(), &found) != 0 || found.st_uid != ::geteuid()) {
            continue;
        }
        const bool isNew = ::time(nullptr) - found.st_mtime < secondsUntilAbandoned;
        auto lock = takeLock(folder, lockName);
        lock = lock || isNew ? std::move(lock) : takeLock(folder, newLockName);
        if (lock && !removeContents(folder)) {
            removeTree(directory.get(), name.c_str());
        } else if (!lock && !isNew) {
            static_cast<void>(::unlinkat(directory.get(), name.c_str(), AT_REMOVEDIR)); // works only if it is empty
        }
    }
}

} // namespace

TemporaryFolder TemporaryFolder::create(std::int64_t room, std::int64_t least, const KnownRoom &knownRoom) {
    removeAbandoned();
    TemporaryFolder folder;
    folder.tryEach(room, least, [&](const std::string &place, std::int64_t needed) {
        return folder.makeIn(place, needed, knownRoom);
    });
    return folder;
}

std::string TemporaryFolder::likelyPlace(std::int64_t room, std::int64_t least) {
    TemporaryFolder folder;
    std::string found;
    folder.tryEach(room, least, [&](const std::string &place, std::int64_t needed) {
        found = place;
        return folder.lookAt(place, needed);
    });
    return found;
}

void TemporaryFolder::tryEach(std::int64_t room, std::int64_t least, const Attempt &attempt) {
    const std::vector<std::string> places = temporaryDirectories();
    if (anyWillDo(places, room, attempt) || (least < room && anyWillDo(places, least, attempt))) {
        return;
    }
    const std::string reason =
        "no folder for temporary files will do, neither that of TMPDIR nor another: " + passedOver_;
    if (!roomiest_.empty()) {
        throw NoRoom(reason, roomiest_, std::min(room, least), mostRoom_);
    }
    throw Exception("TemporaryDirectoryException", reason);
}

void TemporaryFolder::removeAbandoned() {
    const std::vector<std::string> places = temporaryDirectories();
    std::for_each(places.begin(), places.end(), removeAbandonedFolders);
}

bool TemporaryFolder::anyWillDo(const std::vector<std::string> &places, std::int64_t room, const Attempt &attempt) {
    passedOver_.clear();
    roomiest_.clear();
    return std::any_of(places.begin(), places.end(), [&](const std::string &place) {
        const std::string reason = attempt(place, room);
        passedOver_ += reason.empty() ? "" : (passedOver_.empty() ? "" : "; ") + place + ": " + reason;
        return reason.empty();
    });
}

std::string TemporaryFolder::lackOfRoomIn(const FileDescriptor &directory, const std::string &place, std::int64_t room,
                                          const KnownRoom &knownRoom) {
    const auto known = knownRoom.find(place);
    const std::int64_t limit = known == knownRoom.end() ? std::numeric_limits<std::int64_t>::max() : known->second;
    const std::int64_t available = std::min(availableBytes(directory).value_or(room), limit);
    if (available >= room) {
        return "";
    }
    if (roomiest_.empty() || available > mostRoom_) {
        roomiest_ = place;
        mostRoom_ = available;
    }
    return lackOfRoom(available, room);
}

std::string TemporaryFolder::lookAt(const std::string &place, std::int64_t room) {
    const std::string folder = place == cacheDirectory() ? nearestFolder(place) : place;
    const FileDescriptor directory = openDirectory(AT_FDCWD, folder, true);
    if (!directory.valid()) {
        return lastError().message();
    }
    std::string objection = folder == place ? objectionToOwner(directory) : ""; // else it would be the user's own
    objection = objection.empty() ? lackOfRoomIn(directory, place, room, {}) : objection;
    return objection.empty() ? objectionToPrograms(folder) : objection;
}

std::string TemporaryFolder::makeIn(const std::string &place, std::int64_t room, const KnownRoom &knownRoom) {
    FileDescriptor directory = openDirectory(AT_FDCWD, place, true);
    if (!directory.valid() && errno == ENOENT && place == cacheDirectory()) {
        if (const auto error = createDirectoryAtPath(place, true, ownerOnly)) {
            return error.message();
        }
        directory = openDirectory(AT_FDCWD, place, true);
    }
    if (!directory.valid()) {
        return lastError().message();
    }
    std::string objection = objectionToOwner(directory);
    objection = objection.empty() ? lackOfRoomIn(directory, place, room, knownRoom) : objection;
    if (!objection.empty()) {
        return objection;
    }
    const std::string name = ProcessInfo::processInfo().globallyUniqueString();
    std::string path = appendingPathComponent(place, name); // before the folder exists: a failure would leave it behind
    if (::mkdirat(directory.get(), name.c_str(), ownerOnly) != 0) {
        return lastError().message();
    }
    const std::error_code error = lockAndProbe(directory.get(), name);
    if (error) {
        lock_.reset();
        if (removeTree(directory.get(), name.c_str())) {
            // A folder that cannot be opened could not be filled either.
            static_cast<void>(::unlinkat(directory.get(), name.c_str(), AT_REMOVEDIR));
        }
        return error == std::errc::permission_denied ? noProgramsFrom : error.message();
    }
    path_ = std::move(path);
    return {};
}

/// Creates the lock in the new folder. The file also shows whether programs in the folder can be executed.
std::error_code TemporaryFolder::lockAndProbe(int parent, const std::string &name) {
    constexpr int flags = O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW;
    const bool readable = ::fchmodat(parent, name.c_str(), ownerOnly, 0) == 0; // whatever the umask
    const FileDescriptor folder = readable ? openDirectory(parent, name) : FileDescriptor();
    FileDescriptor file =
        folder.valid() ? FileDescriptor::openAt(folder.get(), newLockName, flags, ownerOnly) : FileDescriptor();
    if (!file.valid() || ::fchmod(file.get(), ownerOnly) != 0 || ::faccessat(folder.get(), newLockName, X_OK, 0) != 0) {
        return lastError();
    }
    lock_ = FileLock::take(std::move(file), FileLock::Mode::exclusive);
    if (!lock_ && errno == EWOULDBLOCK) {
        return lastError(); // another run has just mistaken the folder for an abandoned one
    }
    return !lock_ || ::renameat(folder.get(), newLockName, folder.get(), lockName) == 0 ? std::error_code()
                                                                                        : lastError();
}

std::error_code TemporaryFolder::remove() {
    constexpr int attempts = 3; // memory may be short at first
    for (int attempt = 0; attempt < attempts; ++attempt) {
        try {
            return tryToRemove();
        } catch (const std::bad_alloc &) {
            continue;
        }
    }
    return std::make_error_code(std::errc::not_enough_memory);
}

std::error_code TemporaryFolder::tryToRemove() {
    const FileDescriptor folder = openDirectory(AT_FDCWD, path_);
    if (!folder.valid()) {
        return errno == ENOENT ? std::error_code() : lastError();
    }
    if (const auto error = removeContents(folder)) {
        return error;
    }
    lock_.reset(); // on a network file system an open file would keep the folder from being removed
    const auto error = removeTree(AT_FDCWD, path_.c_str());
    return error == std::errc::no_such_file_or_directory ? std::error_code() : error; // another run removed it
}

} // namespace kestrav::platform
