#pragma once

#include <string>

namespace kestrav::platform {

/// Sets a variable of the process's real environment, for code in this process that is not ours; one that is set
/// already stays. `ProcessInfo` keeps its own copy. Only while the process has one thread.
void exportEnvironmentVariable(const std::string &name, const std::string &value);

} // namespace kestrav::platform
