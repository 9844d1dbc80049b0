#pragma once

#include <optional>
#include <string>
#include <string_view>

// A runtime's launch library may execute the program's file again, in the same process and with the arguments it was
// given itself, because it wants another library search path. Memory is lost then, the environment is not. Only Linux
// runtimes do that; elsewhere nothing is kept and nothing is found. One thread, before any other exists.

namespace kestrav::platform {

/// What the program needs to go on where it was.
struct Reexecution {
    std::string version;
    std::string libraryPath;
};

/// Keeps, for this process only, what `takeReexecution` gives back after the file was executed again.
void prepareReexecution(std::string_view version, std::string_view libraryPath);

/// What an earlier image of this process has kept; empty at an ordinary start. Called at every start, before the
/// environment is looked at: it removes the traces, also those of a parent process.
[[nodiscard]] std::optional<Reexecution> takeReexecution();

} // namespace kestrav::platform
