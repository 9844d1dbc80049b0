#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace kestrav::platform {

/// The PNG image of an icon file (the container format "icns", or a plain PNG file) that suits a square of `edge`
/// pixels best: the smallest that fills it, else the largest. Refers to `file`; empty if that holds no image.
[[nodiscard]] std::optional<std::string_view> iconImage(std::string_view file, std::uint32_t edge);

} // namespace kestrav::platform
