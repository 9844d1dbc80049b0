#pragma once

#include "platform/PropertyList.h"

#include <optional>
#include <string>
#include <string_view>

namespace kestrav::platform {

/// The value of an element that is not an array or a dictionary. A damaged number or date counts as zero.
[[nodiscard]] PropertyList valueOfElement(std::string_view name, std::string text);

/// The character that an entity stands for, given its name between "&" and ";"; empty if there is no such entity.
[[nodiscard]] std::optional<char32_t> characterOfEntity(std::string_view name);

} // namespace kestrav::platform
