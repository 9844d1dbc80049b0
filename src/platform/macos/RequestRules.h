#pragma once

#include <string>
#include <string_view>

namespace kestrav::platform {

/// The text with spaces, control characters and bytes beyond ASCII percent-encoded, as browsers do.
[[nodiscard]] std::string percentEncoded(std::string_view url);

/// True if a download may be led from one URL scheme to another: to a server, and out of no encryption.
[[nodiscard]] bool redirectIsAllowed(std::string_view fromScheme, std::string_view toScheme);

} // namespace kestrav::platform
