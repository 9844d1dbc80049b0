#pragma once

#include <spawn.h>

namespace kestrav::platform {

/// Keeps every descriptor from `first` on, which lies above the standard three, from a child, also one that a library
/// has just opened without the close-on-exec flag. To be called after all other file actions; adds to `flags`, which
/// are set afterwards. 0 or an error number.
[[nodiscard]] int closeOtherDescriptors(posix_spawn_file_actions_t &actions, short &flags, int first);

} // namespace kestrav::platform
