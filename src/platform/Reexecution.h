#pragma once

#include <optional>
#include <string>
#include <string_view>

// A runtime's launch library may execute the program's file again, in the same process and with the arguments it was
// given itself, because it wants another library search path. Memory is lost then, the environment is not. Only Linux
// runtimes do that; elsewhere these functions do nothing. To be called before the process has a second thread.

namespace kestrav::platform {

/// What the program needs to continue where it was.
struct Reexecution {
    std::string version;
    std::string libraryPath;
};

/// Keeps, for this process only, what `takeReexecution` gives back after the file was executed again.
void prepareReexecution(std::string_view version, std::string_view libraryPath);

/// What this process kept before its file was executed again; empty at an ordinary start. Called at every start, before
/// the environment is read: it removes the variable that holds this, also one that was inherited from a parent process.
[[nodiscard]] std::optional<Reexecution> takeReexecution();

} // namespace kestrav::platform
