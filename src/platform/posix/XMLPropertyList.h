#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace kestrav::platform {

/// Where an XML property list (UTF-8) is damaged, as an offset; empty if elements, comments and entities are as they
/// should be and lie no more than `deepestNesting` deep. What the elements hold is not judged.
///
/// The libraries that read lists nest their calls as the elements are nested, so this has to see the same elements as
/// they do: none in comments and marked sections, and nothing is guessed where the text could be taken in two ways.
[[nodiscard]] std::optional<std::size_t> faultOfXMLPropertyList(std::string_view xml);

/// How deep arrays and dictionaries may be nested.
inline constexpr std::size_t deepestNesting = 512;

} // namespace kestrav::platform
