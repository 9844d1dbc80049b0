#pragma once

#include "platform/PropertyList.h"

#include <cstddef>
#include <optional>
#include <string_view>

namespace kestrav::platform {

/// What an XML property list holds, or the offset at which it is damaged. The value is meaningful only without a fault.
struct XMLReading {
    PropertyList value;
    std::optional<std::size_t> fault;
};

/// Reads an XML property list (UTF-8). Text that could be understood in two ways is a fault, and so is nesting deeper
/// than `deepestNesting`.
[[nodiscard]] XMLReading readXMLPropertyList(std::string_view xml);

/// How deep arrays and dictionaries may be nested.
inline constexpr std::size_t deepestNesting = 512;

} // namespace kestrav::platform
