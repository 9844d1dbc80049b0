#pragma once

#include "platform/FileDescriptor.h"

#include <sys/types.h>

#include <string>

// Entries of an open directory, by their name in it (one component). Links are not followed unless asked for.

namespace kestrav {

/// Opens an entry, close-on-exec. The descriptor is the caller's; -1 with errno set when that fails.
[[nodiscard]] int openEntry(int directory, const std::string &name, int flags, mode_t mode = 0);

/// Opens a directory for use with the functions here; invalid with errno set when that fails.
[[nodiscard]] platform::FileDescriptor openDirectory(int directory, const std::string &name, bool followLink = false);

/// S_IFDIR, S_IFLNK, S_IFREG, …; 0 with errno set if there is no such entry.
[[nodiscard]] mode_t entryType(int directory, const std::string &name);

/// Removes a file, a link or a whole directory, however deep; false with errno set when something of it stays.
[[nodiscard]] bool removeEntry(int directory, const std::string &name);

} // namespace kestrav
