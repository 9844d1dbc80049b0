#pragma once

#include "platform/FileDescriptor.h"

#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

// Open directories and what lies in them. Entries are named by one component; links are not followed unless asked for.

namespace kestrav::platform {

/// Identifies a file, whatever its name.
struct FileIdentity {
    dev_t device = 0;
    ino_t number = 0;
    [[nodiscard]] bool operator==(const FileIdentity &) const = default;
};

/// Empty with errno set if the system cannot say.
[[nodiscard]] std::optional<FileIdentity> identityOf(const FileDescriptor &file);

/// Opens a directory in a directory (or AT_FDCWD); invalid with errno set when that fails.
[[nodiscard]] FileDescriptor openDirectory(int parent, const std::string &name, bool followLink = false);

/// S_IFDIR, S_IFLNK, S_IFREG, …; 0 with errno set if there is no such entry.
[[nodiscard]] mode_t entryType(int directory, const std::string &name);

/// The names in an open directory without "." and "..", in the system's order; empty if it cannot be listed.
[[nodiscard]] std::optional<std::vector<std::string>> directoryNames(const FileDescriptor &directory);

/// Removes the entry of this name in an open directory (or at a path below AT_FDCWD); a directory with everything in
/// it. Never follows a link, leaves mounted file systems alone, and works through open directories, so that nothing
/// outside is touched even if another process changes the tree meanwhile. Only few descriptors are open at any depth.
/// What cannot be removed does not stop the rest from being removed; the first error is returned.
std::error_code removeTree(int parent, const char *name);

/// The bytes that the user can still write to the file system of an open directory; empty if the system does not say.
[[nodiscard]] std::optional<std::int64_t> availableBytes(const FileDescriptor &directory);

/// The path itself, or the nearest folder above it that exists.
[[nodiscard]] std::string nearestFolder(std::string path);

} // namespace kestrav::platform
