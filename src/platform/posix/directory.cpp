#include "platform/posix/directory.h"

#include "platform/path.h"
#include "platform/posix/system.h"
#include "platform/uninterrupted.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <memory>
#include <string_view>
#include <utility>

namespace kestrav::platform {

namespace {

struct CloseDirectory {
    void operator()(DIR *directory) const { ::closedir(directory); }
};

} // namespace

std::optional<FileIdentity> identityOf(const FileDescriptor &file) {
    struct stat status {};
    if (::fstat(file.get(), &status) != 0) {
        return std::nullopt;
    }
    return FileIdentity{status.st_dev, status.st_ino};
}

FileDescriptor openDirectory(int parent, const std::string &name, bool followLink) {
    return FileDescriptor::openAt(parent, name.c_str(), O_RDONLY | O_DIRECTORY | (followLink ? 0 : O_NOFOLLOW));
}

mode_t entryType(int directory, const std::string &name) {
    struct stat status {};
    return ::fstatat(directory, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0
               ? static_cast<mode_t>(status.st_mode & S_IFMT)
               : mode_t{0};
}

std::optional<std::vector<std::string>> directoryNames(const FileDescriptor &directory) {
    // The stream closes its descriptor, so it gets one of its own.
    FileDescriptor own(directory.valid() ? ::fcntl(directory.get(), F_DUPFD_CLOEXEC, 0) : -1);
    const std::unique_ptr<DIR, CloseDirectory> stream(own.valid() ? ::fdopendir(own.get()) : nullptr);
    if (stream == nullptr) {
        return std::nullopt;
    }
    static_cast<void>(own.release());
    ::rewinddir(stream.get());
    std::vector<std::string> names;
    for (;;) {
        errno = 0;
        const dirent *entry = ::readdir(stream.get());
        if (entry == nullptr) {
            return errno == 0 ? std::optional(std::move(names)) : std::nullopt;
        }
        const std::string_view name = static_cast<const char *>(entry->d_name);
        if (name != "." && name != "..") {
            names.emplace_back(name);
        }
    }
}

namespace {

/// True if unlinking may have failed because the entry is a directory: Linux then says EISDIR, other systems EPERM, and
/// EACCES takes precedence over both.
bool mayMeanADirectory(const std::error_code &error) {
    return error.value() == EISDIR || error.value() == EPERM || error.value() == EACCES;
}

/// Opens a directory in order to remove its entries, after giving the owner the permissions for that.
FileDescriptor openForRemoval(int parent, const std::string &name) {
    FileDescriptor directory = openDirectory(parent, name);
    if (!directory.valid() && errno == EACCES && ::fchmodat(parent, name.c_str(), S_IRWXU, AT_SYMLINK_NOFOLLOW) == 0) {
        directory = openDirectory(parent, name);
    }
    struct stat found {};
    if (directory.valid() && ::fstat(directory.get(), &found) == 0 && (found.st_mode & S_IRWXU) != S_IRWXU) {
        // If this fails, the removal of the entries tells why.
        static_cast<void>(::fchmod(directory.get(), (found.st_mode & 07777U) | S_IRWXU));
    }
    return directory;
}

/// One walk through a tree. Only the current directory is open; the walk goes up through "..".
class Removal {
public:
    explicit Removal(int parent) : parent_(parent) {}

    std::error_code run(const char *name) {
        if (::unlinkat(parent_, name, 0) == 0) {
            return {};
        }
        const std::error_code unlinkError = lastError();
        if (!mayMeanADirectory(unlinkError)) {
            return unlinkError;
        }
        if (!enter(name)) {
            return errno == ENOTDIR || errno == ELOOP ? unlinkError : lastError();
        }
        while (!levels_.empty()) {
            std::vector<std::string> &directories = levels_.back().directories;
            if (directories.empty()) {
                leave();
                continue;
            }
            const std::string next = std::move(directories.back());
            directories.pop_back();
            if (!enter(next)) {
                note(lastError());
            }
        }
        return error_;
    }

    /// True if the tree was changed during the walk, so that another walk may succeed.
    [[nodiscard]] bool disturbed() const { return disturbed_; }

private:
    struct Level {
        std::string name; ///< in the directory above
        FileIdentity identity;
        std::vector<std::string> directories; ///< still to be removed
    };

    /// Enters a directory and removes everything in it that is not a directory; false with errno set if it cannot be
    /// entered.
    bool enter(const std::string &name) {
        FileDescriptor directory = openForRemoval(levels_.empty() ? parent_ : current_.get(), name);
        const auto identity = directory.valid() ? identityOf(directory) : std::nullopt;
        if (!identity) {
            return false;
        }
        const std::uint64_t mount = mountOf(directory.get());
        if (levels_.empty()) {
            mount_ = mount;
        } else if (mount != mount_) {
            errno = EBUSY; // the system's error for removing a mount point itself
            return false;
        }
        current_ = std::move(directory);
        Level &level = levels_.emplace_back(Level{name, *identity, {}});
        for (std::string &entry : directoryNames(current_).value_or(std::vector<std::string>())) {
            if (::unlinkat(current_.get(), entry.c_str(), 0) == 0) {
                continue;
            }
            const std::error_code error = lastError();
            if (mayMeanADirectory(error) && entryType(current_.get(), entry) == S_IFDIR) {
                level.directories.push_back(std::move(entry));
            } else {
                note(error);
            }
        }
        return true;
    }

    void leave() {
        const std::string name = std::move(levels_.back().name);
        levels_.pop_back();
        if (!levels_.empty()) {
            current_ = openDirectory(current_.get(), "..");
            if (identityOf(current_) != levels_.back().identity) {
                // The directory was moved: its new parent is not in our tree.
                levels_.clear();
                disturb(std::make_error_code(std::errc::directory_not_empty));
                return;
            }
        }
        if (::unlinkat(levels_.empty() ? parent_ : current_.get(), name.c_str(), AT_REMOVEDIR) != 0) {
            const std::error_code error = lastError();
            if (error.value() == ENOTEMPTY || error.value() == EEXIST) {
                disturb(error);
            } else {
                note(error);
            }
        }
    }

    void note(const std::error_code &error) {
        if (!error_ && error != std::errc::no_such_file_or_directory) {
            error_ = error;
        }
    }

    /// A directory that stays because something in it could not be removed is not an error of its own.
    void disturb(const std::error_code &error) {
        disturbed_ = disturbed_ || !error_;
        note(error);
    }

    int parent_;
    FileDescriptor current_;
    std::uint64_t mount_ = 0; ///< other mounted file systems within the tree are left alone
    std::vector<Level> levels_;
    std::error_code error_;
    bool disturbed_ = false;
};

} // namespace

std::error_code removeTree(int parent, const char *name) {
    // Entries may appear while others are removed. A directory that fills faster than it is emptied stays.
    constexpr int passes = 8;
    std::error_code error;
    for (int pass = 0; pass < passes; ++pass) {
        Removal removal(parent);
        error = removal.run(name);
        if (pass > 0 && error == std::errc::no_such_file_or_directory) {
            return {};
        }
        if (!removal.disturbed()) {
            break;
        }
    }
    return error;
}

std::optional<std::int64_t> availableBytes(const FileDescriptor &directory) {
    struct statvfs space {};
    if (::fstatvfs(directory.get(), &space) != 0 || space.f_blocks == 0) {
        return std::nullopt;
    }
    constexpr double largest = 1e18;
    const double bytes = static_cast<double>(space.f_bavail) * static_cast<double>(space.f_frsize);
    return static_cast<std::int64_t>(std::min(bytes, largest));
}

std::string nearestFolder(std::string path) {
    struct stat found {};
    while (::stat(path.c_str(), &found) != 0 && errno == ENOENT && path.size() > 1) {
        path = deletingLastPathComponent(path);
    }
    return path;
}

} // namespace kestrav::platform
