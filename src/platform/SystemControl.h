#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace kestrav::platform {

/// A 32-bit integer of the system's own settings (sysctl), empty if the system has none of that name.
[[nodiscard]] std::optional<std::int32_t> systemControlInteger(const std::string &name);

} // namespace kestrav::platform
