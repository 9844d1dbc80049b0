#pragma once

#include <string>

namespace kestrav::platform {

/// The file of the program that runs, to be started once more; empty if the system does not tell.
[[nodiscard]] std::string executablePath();

} // namespace kestrav::platform
