#pragma once

#include "StartReport.h"

#include <string>
#include <vector>

namespace kestrav::tools {

/// Looks for the report's main class on the class path among these options and, as Java does, on those of the archives'
/// manifests. A problem is a class that is in none of them, or that needs a newer Java than `runtimeVersion` (17; below
/// 0: unknown). A class that only modules, agents or the runtime can bring is taken on trust.
void examineMainClass(StartReport &report, const std::vector<std::string> &options, int runtimeVersion);

} // namespace kestrav::tools
