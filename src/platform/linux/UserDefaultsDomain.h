#pragma once

#include <optional>
#include <string>

// Where the user's defaults lie on Linux.

namespace kestrav::platform {

/// The name of the application's own domain.
[[nodiscard]] std::string ownDefaultsDomain();

/// The path of a domain's property list, whether it exists or not; empty for a name that cannot be a file's.
[[nodiscard]] std::optional<std::string> defaultsFile(const std::string &domain);

} // namespace kestrav::platform
