#pragma once

#include "platform/PropertyList.h"

#include <cstddef>
#include <optional>
#include <string_view>

namespace kestrav::platform {

/// What an XML property list holds, or where it is damaged, as an offset. The value counts only without a fault.
struct XMLReading {
    PropertyList value;
    std::optional<std::size_t> fault;
};

/// Reads an XML property list (UTF-8). Nothing is guessed where the text could be taken in two ways: that is a fault,
/// as is nesting deeper than `deepestNesting`.
[[nodiscard]] XMLReading readXMLPropertyList(std::string_view xml);

/// How deep arrays and dictionaries may be nested.
inline constexpr std::size_t deepestNesting = 512;

} // namespace kestrav::platform
