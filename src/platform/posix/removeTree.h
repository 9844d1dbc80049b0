#pragma once

#include <system_error>

namespace kestrav::platform {

/// Removes what stands under a name in an open directory (or a path below AT_FDCWD), a directory with all it holds.
/// Never follows a link, leaves what is mounted in it alone, and goes through descriptors, so that nothing outside is
/// touched even if somebody changes the tree meanwhile. Holds few of them at any depth. What cannot be removed does not
/// keep the rest; the first error counts.
std::error_code removeTree(int parent, const char *name);

} // namespace kestrav::platform
