#include "platform/PrivateFolder.h"

#include "platform/FileDescriptor.h"
#include "platform/FileManager.h"
#include "platform/TrustedPath.h"
#include "platform/format.h"
#include "platform/path.h"
#include "platform/posix/directory.h"
#include "platform/posix/system.h"
#include "platform/uninterrupted.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

namespace kestrav::platform {

namespace {

constexpr mode_t ownerOnly = 0700;

/// True if everybody can rename files in the folder at this path, or in one above it.
bool canBeMovedByOthers(const std::string &path) {
    std::error_code unknown;
    for (std::filesystem::path folder = std::filesystem::canonical(path, unknown); folder.has_relative_path();) {
        folder = folder.parent_path();
        struct stat found {};
        if (::stat(folder.c_str(), &found) != 0 || ((found.st_mode & S_IWOTH) != 0 && (found.st_mode & S_ISVTX) == 0)) {
            return true;
        }
    }
    return static_cast<bool>(unknown);
}

/// False if the folder in which the first new one would be created belongs to another user: root could create it there,
/// but it would then get in that user's way.
bool liesAmongOwnFolders(const std::string &path) {
    struct stat found {};
    static_cast<void>(::stat(nearestFolder(deletingLastPathComponent(path)).c_str(), &found));
    return found.st_uid == ::geteuid() || found.st_uid == 0;
}

} // namespace

std::string objectionToPrivateFolder(const std::string &path) {
    struct stat found {};
    if (::lstat(path.c_str(), &found) != 0) {
        return lastError().message();
    }
    if (!S_ISDIR(found.st_mode)) {
        return S_ISLNK(found.st_mode) ? "it is a link" : std::make_error_code(std::errc::not_a_directory).message();
    }
    if (found.st_uid != ::geteuid()) {
        return "it belongs to another user";
    }
    if ((found.st_mode & (S_IRWXG | S_IRWXO)) != 0) {
        return "other users have rights in it";
    }
    if (canBeMovedByOthers(path)) {
        return "other users can put another folder in its place";
    }
    return reasonToDistrust(path, "").value_or("");
}

std::error_code makePrivateFolder(const std::string &path) {
    if (entryType(AT_FDCWD, path) != 0) {
        return {};
    }
    if (!liesAmongOwnFolders(path)) {
        return std::make_error_code(std::errc::permission_denied);
    }
    if (const auto error = createDirectoryAtPath(path, true, ownerOnly)) {
        return error;
    }
    // Set again, whatever the umask is. Two runs may do this at once.
    return ::chmod(path.c_str(), ownerOnly) == 0 ? std::error_code() : lastError();
}

bool programsCanBeStartedFrom(const std::string &folder) {
    const std::string probe = appendingPathComponent(folder, "probe");
    const FileDescriptor file =
        FileDescriptor::open(probe.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW, ownerOnly);
    const bool can = file.valid() && ::fchmod(file.get(), ownerOnly) == 0 && ::access(probe.c_str(), X_OK) == 0;
    if (file.valid()) {
        ::unlink(probe.c_str());
    }
    return can;
}

std::string objectionToPrograms(const std::string &folder) {
    if (::access(folder.c_str(), W_OK | X_OK) != 0) {
        return lastError().message();
    }
    const FileDescriptor opened = openDirectory(AT_FDCWD, folder, true);
    return opened.valid() && forbidsPrograms(opened.get()) ? noProgramsFrom : "";
}

std::string objectionToFutureFolder(const std::string &path, std::int64_t room) {
    const std::string folder = nearestFolder(path);
    if (folder != path && !liesAmongOwnFolders(path)) {
        return std::make_error_code(std::errc::permission_denied).message();
    }
    std::string objection = folder == path ? objectionToPrivateFolder(path) : "";
    objection = objection.empty() ? objectionToRoom(folder, room) : objection;
    return objection.empty() ? objectionToPrograms(folder) : objection;
}

std::string objectionToRoom(const std::string &folder, std::int64_t needed) {
    const FileDescriptor opened = openDirectory(AT_FDCWD, folder, true);
    const std::int64_t available = availableBytes(opened).value_or(needed);
    return available < needed ? lackOfRoom(available, needed) : "";
}

std::string lackOfRoom(std::int64_t available, std::int64_t needed) {
    constexpr double megabyte = 1024 * 1024;
    return format("it has room for %.1f MB, but %.1f MB are needed", static_cast<double>(available) / megabyte,
                  static_cast<double>(needed) / megabyte);
}

std::error_code moveWithin(const std::string &folder, const std::string &name, const std::string &newName) {
    const FileDescriptor opened = openDirectory(AT_FDCWD, folder);
    if (!opened.valid() || ::renameat(opened.get(), name.c_str(), opened.get(), newName.c_str()) != 0) {
        return lastError();
    }
    // Some file systems cannot sync a directory, and do not need that.
    const bool synced = uninterrupted([&] { return ::fsync(opened.get()); }) == 0 || errno == EINVAL;
    return synced ? std::error_code() : lastError();
}

} // namespace kestrav::platform
