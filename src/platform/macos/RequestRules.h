#pragma once

#include <string>
#include <string_view>

namespace kestrav::platform {

/// The text with spaces, control characters and bytes beyond ASCII percent-encoded, as browsers do.
[[nodiscard]] std::string percentEncoded(std::string_view url);

/// True if a download may be redirected from one URL scheme to another: only to a server, and never from an encrypted
/// connection to an unencrypted one.
[[nodiscard]] bool redirectIsAllowed(std::string_view fromScheme, std::string_view toScheme);

} // namespace kestrav::platform
