#pragma once

#include <string_view>

// libplist follows a list however deep it is nested and however often it repeats itself, until the stack or the memory
// is used up. These look at the bytes beforehand.

namespace kestrav::platform {

/// True if the bytes may be given to libplist as a binary list: references stay in the file, nothing contains itself,
/// and depth and expanded size are moderate.
[[nodiscard]] bool binaryPropertyListIsAcceptable(std::string_view bytes);

} // namespace kestrav::platform
