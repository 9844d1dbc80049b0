#pragma once

#include "Program.h"
#include "Progress.h"

#include <string>
#include <vector>

namespace kestrav::tools {

/// Makes a runtime with the modules that the request names, by the programs of the JDK at `home`, in `folder`, which is
/// made. Returns where it is; adds to `notes` what the user may have to know. Refuses a JDK without those programs, and
/// what they refuse.
[[nodiscard]] std::string linkRuntime(const std::string &home, const Request &request, const Program &program,
                                      const std::string &folder, const Progress &progress,
                                      std::vector<std::string> &notes);

} // namespace kestrav::tools
