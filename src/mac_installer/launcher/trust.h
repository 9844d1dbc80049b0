#pragma once

#include "platform/FileDescriptor.h"

#include <optional>
#include <string>

namespace kestrav {

/// Why a file or folder that steers the start may not be heeded: others than the user, root and the owner of the
/// application's bundle could have put it there. Empty if it may. The log that is always written says it, once in a
/// process. Any thread.
[[nodiscard]] std::optional<std::string> reasonNotToHeed(const char *signature, int line, const std::string &path);
/// The same for a file that is open for reading, so that it cannot be exchanged before it is read.
[[nodiscard]] std::optional<std::string> reasonNotToHeed(const char *signature, int line, const std::string &path,
                                                         const platform::FileDescriptor &file);

} // namespace kestrav
