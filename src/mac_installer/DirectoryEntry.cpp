#include "mac_installer/DirectoryEntry.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

namespace kestrav {

using platform::FileDescriptor;

namespace {

struct CloseDirectory {
    void operator()(DIR *directory) const { closedir(directory); }
};

struct Sweep {
    bool failed = false;
    bool removed = false;
    std::optional<std::string> subdirectory;
};

/// Removes what is no directory, up to the first directory met.
Sweep removeFiles(int directory) {
    Sweep sweep;
    const int descriptor = openEntry(directory, ".", O_RDONLY | O_DIRECTORY);
    const std::unique_ptr<DIR, CloseDirectory> entries(descriptor < 0 ? nullptr : fdopendir(descriptor));
    if (entries == nullptr) {
        if (descriptor >= 0) {
            close(descriptor);
        }
        sweep.failed = true;
        return sweep;
    }
    for (;;) {
        errno = 0;
        const dirent *entry = readdir(entries.get());
        if (entry == nullptr) {
            sweep.failed = errno != 0;
            return sweep;
        }
        const std::string name = entry->d_name;
        if (name == "." || name == "..") {
            continue;
        }
        if (entryType(directory, name) == S_IFDIR) {
            sweep.subdirectory = name;
            return sweep;
        }
        if (unlinkat(directory, name.c_str(), 0) != 0) {
            sweep.failed = true;
            return sweep;
        }
        sweep.removed = true;
    }
}

} // namespace

int openEntry(int directory, const std::string &name, int flags, mode_t mode) {
    int descriptor = -1;
    do {
        descriptor = openat(directory, name.c_str(), flags | O_CLOEXEC, mode);
    } while (descriptor < 0 && errno == EINTR);
    return descriptor;
}

FileDescriptor openDirectory(int directory, const std::string &name, bool followLink) {
    return FileDescriptor(openEntry(directory, name, O_RDONLY | O_DIRECTORY | (followLink ? 0 : O_NOFOLLOW)));
}

mode_t entryType(int directory, const std::string &name) {
    struct stat status {};
    return fstatat(directory, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0
               ? static_cast<mode_t>(status.st_mode & S_IFMT)
               : mode_t{0};
}

bool removeEntry(int directory, const std::string &name) {
    if (entryType(directory, name) != S_IFDIR) {
        return unlinkat(directory, name.c_str(), 0) == 0;
    }
    // Walks the tree with one directory open at a time, so that its depth costs neither stack nor descriptors.
    FileDescriptor current = openDirectory(directory, name);
    std::vector<std::string> below;
    while (current.valid()) {
        Sweep sweep = removeFiles(current.get());
        if (sweep.failed) {
            return false;
        }
        if (sweep.subdirectory) {
            current = openDirectory(current.get(), *sweep.subdirectory);
            below.push_back(std::move(*sweep.subdirectory));
        } else if (sweep.removed) {
            continue; // some file systems leave entries out of a listing that is being changed
        } else if (below.empty()) {
            return unlinkat(directory, name.c_str(), AT_REMOVEDIR) == 0;
        } else {
            current = openDirectory(current.get(), "..");
            if (!current.valid() || unlinkat(current.get(), below.back().c_str(), AT_REMOVEDIR) != 0) {
                return false;
            }
            below.pop_back();
        }
    }
    return false;
}

} // namespace kestrav
