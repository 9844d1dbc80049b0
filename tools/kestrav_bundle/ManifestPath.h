#pragma once

#include "Program.h"

namespace kestrav::tools {

/// Follows the class paths in the manifests of the program's archives, as Java does, and adds what they name to the
/// program's files, at the place where Java will look for it. Returns the archives and folders of the class path and
/// those that were found, in the order in which Java looks for classes. Notes what is missing, and refuses what would
/// lie outside the application.
[[nodiscard]] std::vector<std::string> followManifests(Program &program, const std::vector<Program::File> &classPath);

} // namespace kestrav::tools
