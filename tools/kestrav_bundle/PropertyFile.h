#pragma once

#include <map>
#include <string>

namespace kestrav::tools {

/// The entries of a file in the form that java.util.Properties reads, in UTF-8. Raises `Refusal` if it cannot be read.
[[nodiscard]] std::map<std::string, std::string> propertiesOf(const std::string &path);

} // namespace kestrav::tools
