#pragma once

#include <optional>

namespace kestrav::platform {

/// Some services run in a process of their own, because they may outlive this one: the same executable with a single
/// argument that names the service. Runs that service and returns the status to end with; empty for any other process.
[[nodiscard]] std::optional<int> runHelper(int argc, const char *const *argv);

} // namespace kestrav::platform
