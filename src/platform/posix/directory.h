#pragma once

#include "platform/FileDescriptor.h"

#include <optional>
#include <string>
#include <system_error>
#include <vector>

namespace kestrav::platform {

/// The names in an open directory without "." and "..", in the system's order; empty if it cannot be listed.
[[nodiscard]] std::optional<std::vector<std::string>> directoryNames(const FileDescriptor &directory);

/// Removes what stands under a name in an open directory (or AT_FDCWD), a directory with all it holds. Never follows a
/// link, and goes through descriptors, so that nothing outside is touched even if somebody changes the tree meanwhile.
std::error_code removeTree(int parent, const char *name);

} // namespace kestrav::platform
