#pragma once

#include <string>
#include <vector>

namespace kestrav {

/// Makes the program's path and the arguments the vector in `launchGlobals`: copies that are never freed, with a null
/// pointer, not counted, after the last one. Each string ends at its first NUL byte.
void setLaunchVector(const char *programPath, std::vector<std::string> arguments);

/// The lines of an argument file, separated by line feeds alone and each cut at a NUL byte; none if the file cannot be
/// read as UTF-8. The file is deleted in any case, unless it is a directory, a device or an entry of
/// /dev.
[[nodiscard]] std::vector<std::string> takeArgumentFile(const std::string &path);

} // namespace kestrav
