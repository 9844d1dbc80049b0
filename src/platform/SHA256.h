#pragma once

#include <functional>
#include <string>
#include <string_view>

// SHA-256, as 64 lower-case hexadecimal digits. The library for it is opened at the first use: on Linux it is a module
// in the bundle at `bundlePath`. Any thread.

namespace kestrav::platform {

/// Of the pieces that `next` hands out, up to an empty one. What it raises passes through; raises an `Exception` of its
/// own if there is no library.
[[nodiscard]] std::string sha256(const std::string &bundlePath, const std::function<std::string_view()> &next);

/// Of a text.
[[nodiscard]] std::string sha256OfText(const std::string &bundlePath, std::string_view text);

/// Of a regular file; raises an `Exception` if it cannot be read. `checkpoint` is called before each piece is read.
[[nodiscard]] std::string sha256OfFile(const std::string &bundlePath, const std::string &path,
                                       const std::function<void()> &checkpoint);

/// The digits in lower case if a text is a SHA-256 in either case, else empty.
[[nodiscard]] std::string normalizedSHA256(std::string_view text);

} // namespace kestrav::platform
