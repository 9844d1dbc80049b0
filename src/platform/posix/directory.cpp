#include "platform/posix/directory.h"

#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

namespace kestrav::platform {

namespace {

struct CloseDirectory {
    void operator()(DIR *directory) const { ::closedir(directory); }
};

std::error_code lastError() {
    return {errno, std::generic_category()};
}

/// Opens a directory for removing its entries; its owner may have taken those rights from himself.
FileDescriptor openForRemoval(int parent, const char *name) {
    constexpr int flags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
    FileDescriptor directory(::openat(parent, name, flags));
    if (!directory.valid() && errno == EACCES && ::fchmodat(parent, name, S_IRWXU, AT_SYMLINK_NOFOLLOW) == 0) {
        directory = FileDescriptor(::openat(parent, name, flags));
    }
    struct stat found {};
    if (directory.valid() && ::fstat(directory.get(), &found) == 0 && (found.st_mode & S_IRWXU) != S_IRWXU) {
        // If this fails, the removal of the entries tells why.
        static_cast<void>(::fchmod(directory.get(), (found.st_mode & 07777U) | S_IRWXU));
    }
    return directory;
}

} // namespace

std::optional<std::vector<std::string>> directoryNames(const FileDescriptor &directory) {
    // The stream takes a descriptor over, so it gets one of its own.
    const int own = directory.valid() ? ::fcntl(directory.get(), F_DUPFD_CLOEXEC, 0) : -1;
    const std::unique_ptr<DIR, CloseDirectory> stream(own >= 0 ? ::fdopendir(own) : nullptr);
    if (stream == nullptr) {
        FileDescriptor(own).reset();
        return std::nullopt;
    }
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

std::error_code removeTree(int parent, const char *name) {
    if (::unlinkat(parent, name, 0) == 0) {
        return {};
    }
    const std::error_code unlinkError = lastError();
    // Linux says EISDIR of a directory, other systems EPERM; EACCES comes before either.
    if (unlinkError.value() != EISDIR && unlinkError.value() != EPERM && unlinkError.value() != EACCES) {
        return unlinkError;
    }
    // Entries may come while others go; who fills the directory faster than it is emptied gets it kept.
    constexpr int passes = 8;
    std::error_code error;
    for (int pass = 0; pass < passes && !error; ++pass) {
        const FileDescriptor directory = openForRemoval(parent, name);
        if (!directory.valid()) {
            return errno == ENOTDIR || errno == ELOOP ? unlinkError : lastError();
        }
        for (const std::string &entry : directoryNames(directory).value_or(std::vector<std::string>())) {
            const std::error_code entryError = removeTree(directory.get(), entry.c_str());
            if (entryError && entryError != std::errc::no_such_file_or_directory && !error) {
                error = entryError;
            }
        }
        if (::unlinkat(parent, name, AT_REMOVEDIR) == 0) {
            return {};
        }
        if (errno != ENOTEMPTY && errno != EEXIST) {
            return error ? error : lastError();
        }
    }
    return error ? error : std::make_error_code(std::errc::directory_not_empty);
}

} // namespace kestrav::platform
