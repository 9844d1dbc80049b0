#pragma once

#include <functional>
#include <string>
#include <string_view>

// SHA-256, as 64 lower-case hexadecimal digits. The library is opened at the first use: on Linux it is a module in the
// bundle at `bundlePath`. Any thread.

namespace kestrav::platform {

/// The digest of the pieces that `next` returns, up to an empty one. What `next` throws passes through. Throws an
/// `Exception` if there is no library.
[[nodiscard]] std::string sha256(const std::string &bundlePath, const std::function<std::string_view()> &next);

/// The digest of a string.
[[nodiscard]] std::string sha256OfText(const std::string &bundlePath, std::string_view text);

/// The digest of a regular file. Throws an `Exception` if the file cannot be read. `checkpoint` is called before each
/// piece is read.
[[nodiscard]] std::string sha256OfFile(const std::string &bundlePath, const std::string &path,
                                       const std::function<void()> &checkpoint);

/// The digits in lower case if the text is a SHA-256 in lower or upper case, else empty.
[[nodiscard]] std::string normalizedSHA256(std::string_view text);

} // namespace kestrav::platform
