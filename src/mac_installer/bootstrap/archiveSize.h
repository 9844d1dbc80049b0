#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace kestrav {

/// What an archive holds, in bytes, if nothing tells.
inline constexpr std::int32_t usualSize = 6'000'000;

/// What the archive is configured to hold, in bytes.
[[nodiscard]] std::optional<std::int32_t> configuredSize();

/// The same, or what the archive itself says.
[[nodiscard]] std::optional<std::int32_t> expectedSize(const std::string &archive);

} // namespace kestrav
