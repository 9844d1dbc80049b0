#pragma once

#include <map>
#include <string>
#include <string_view>

namespace kestrav::tools {

/// The lines on which the values of an XML property list begin, from 1. "JavaVM/VMOptionArray/0" leads to the first
/// entry of that array. Nothing for a list in another form.
[[nodiscard]] std::map<std::string, int, std::less<>> linesOfPropertyList(std::string_view xml);

} // namespace kestrav::tools
