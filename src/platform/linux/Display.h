#pragma once

namespace kestrav::platform {

/// True if the environment names a display.
[[nodiscard]] bool displayIsLikely();

/// Prepares the process for the window module: sets variables for the window's library, except those that the user has
/// set. Children get the process's own copy of the environment, which does not have them. To be called before other
/// threads read the environment. Without a session bus to use, the library looks for none.
void prepareForWindow(bool usesSessionBus);

} // namespace kestrav::platform
