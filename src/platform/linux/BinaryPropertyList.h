#pragma once

#include "platform/PropertyList.h"

#include <optional>
#include <string_view>

namespace kestrav::platform {

/// Reads a binary property list. Empty if it is damaged: a reference that leads nowhere, a value that contains itself,
/// a NUL character in a string. Also empty if its depth or size, counting each repetition, exceeds that of any real
/// list.
[[nodiscard]] std::optional<PropertyList> readBinaryPropertyList(std::string_view bytes);

} // namespace kestrav::platform
