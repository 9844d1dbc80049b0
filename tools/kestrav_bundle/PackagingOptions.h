#pragma once

#include "Request.h"

#include <string>
#include <string_view>
#include <vector>

// What the values of options mean that have the names, and the ways, of the JDK's own packaging tool.

namespace kestrav::tools {

/// The words of an option's value: white space separates them, but between quotation marks of either kind; a backslash
/// before a quotation mark or white space has it stand for itself.
[[nodiscard]] std::vector<std::string> splitWords(std::string_view text);

/// Adds the file types that a property file describes: its `extension`, `description` and `mime-type`. Refuses a file
/// without an extension.
void addFileAssociation(Request &request, const std::string &path);

/// Signs with the certificate for applications of this developer or team; an empty name takes the only one that is
/// there.
void signAs(Request &request, const std::string &name);

} // namespace kestrav::tools
