#include "platform/posix/directory.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
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
    // The stream takes a descriptor over, so it gets one of its own.
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

} // namespace kestrav::platform
