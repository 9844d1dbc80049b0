#pragma once

#include <string>

namespace kestrav::platform {

/// The path of the bundle that the process's executable lies in, or the executable's directory if that is no bundle's.
[[nodiscard]] std::string ownBundlePath();

} // namespace kestrav::platform
