#pragma once

#include "Runtime.h"
#include "platform/PropertyList.h"

#include <string>
#include <vector>

namespace kestrav::tools {

/// An application before it is complete, and the runtime that it will have.
struct Trial {
    const Runtime &runtime;
    const platform::PropertyList &info; ///< the application's Info.plist
    std::string application;            ///< with the program's files
    std::string folder;                 ///< for what the runtime writes; is made
};

/// Starts the runtime with the options that the application gives it, without the program; or, with
/// `seeksMainClass`, up to the loading of the main class, which is in none of the program's files. Raises `Refusal`
/// with the runtime's own words if it refuses them. Returns what else it says, and what could not be tried because the
/// runtime is for another machine.
[[nodiscard]] std::vector<std::string> tryRuntime(const Trial &trial, bool seeksMainClass);

} // namespace kestrav::tools
