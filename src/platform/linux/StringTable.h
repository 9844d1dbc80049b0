#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>

namespace kestrav::platform {

using StringTable = std::map<std::string, std::string, std::less<>>;

/// Reads a string table: a property list, or lines `"key" = "text";` with comments, in UTF-8 or UTF-16. In a damaged
/// table, what comes before the damage counts.
[[nodiscard]] StringTable parseStringTable(std::string_view bytes);

} // namespace kestrav::platform
