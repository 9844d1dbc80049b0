#pragma once

#include "platform/FileDescriptor.h"

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

// Questions to open directories. Entries are named by one component; links are not followed unless asked for.

namespace kestrav::platform {

/// Which file it is, whatever its name.
struct FileIdentity {
    dev_t device = 0;
    ino_t number = 0;
    [[nodiscard]] bool operator==(const FileIdentity &) const = default;
};

/// Empty with errno set if the system does not tell.
[[nodiscard]] std::optional<FileIdentity> identityOf(const FileDescriptor &file);

/// Opens a directory in a directory (or AT_FDCWD); invalid with errno set when that fails.
[[nodiscard]] FileDescriptor openDirectory(int parent, const std::string &name, bool followLink = false);

/// S_IFDIR, S_IFLNK, S_IFREG, …; 0 with errno set if there is no such entry.
[[nodiscard]] mode_t entryType(int directory, const std::string &name);

/// The names in an open directory without "." and "..", in the system's order; empty if it cannot be listed.
[[nodiscard]] std::optional<std::vector<std::string>> directoryNames(const FileDescriptor &directory);

} // namespace kestrav::platform
