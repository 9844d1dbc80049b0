#pragma once

#include <string>

namespace kestrav::platform {

/// A number as `printf` writes it with one of the conversions a, e, f, g or their capitals, always with "." as its
/// decimal separator. `flags` are any of "-+ #0"; a precision below 0 is the default one.
[[nodiscard]] std::string formatDouble(double value, const std::string &flags, int width, int precision,
                                       char conversion);

/// The shortest decimal text that reads back as the same number.
[[nodiscard]] std::string shortestText(double value);

} // namespace kestrav::platform
