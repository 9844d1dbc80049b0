#pragma once

#include <string>

namespace kestrav {

/// True if a file or folder that steers the start may be heeded. One that others than the user, root and the owner of
/// the application's bundle could have put there may not: the log that is always written says so, once in a process.
/// Any thread.
[[nodiscard]] bool mayBeHeeded(const char *signature, int line, const std::string &path);

} // namespace kestrav
