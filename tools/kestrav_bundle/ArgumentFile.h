#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kestrav::tools {

/// The words of a file with options, quoted as in the argument files of `java`: white space separates words, "#" begins
/// a comment, quotation marks of either kind hold white space and "#", and between them a backslash stands before
/// characters that would mean something, for line breaks ("\n") and the like, and joins lines.
[[nodiscard]] std::vector<std::string> wordsOf(std::string_view text);

/// The words of the file. Refuses one that cannot be read or is not UTF-8 text.
[[nodiscard]] std::vector<std::string> wordsOfFile(const std::string &path);

} // namespace kestrav::tools
