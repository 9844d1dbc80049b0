#pragma once

#include "platform/FileDescriptor.h"

#include <string>

namespace kestrav {

/// True if a file or folder that steers the start may be heeded. One that others than the user, root and the owner of
/// the application's bundle could have put there may not: the log that is always written says so, once in a process.
/// Any thread.
[[nodiscard]] bool mayBeHeeded(const char *signature, int line, const std::string &path);
/// The same for a file that is open for reading, so that it cannot be exchanged before it is read.
[[nodiscard]] bool mayBeHeeded(const char *signature, int line, const std::string &path,
                               const platform::FileDescriptor &file);

} // namespace kestrav
