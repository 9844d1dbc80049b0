#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// Text helpers with the platform's rules. All strings are UTF-8.

namespace kestrav::platform {

/// `text` with every occurrence of `target` replaced, left to right; replacements are not searched again.
[[nodiscard]] std::string replacingOccurrences(std::string_view text, std::string_view target,
                                               std::string_view replacement);

/// A plain split at every character of `separators` (ASCII); empty pieces are kept, the empty text gives one.
[[nodiscard]] std::vector<std::string> componentsSeparatedBy(std::string_view text, std::string_view separators);

/// `text` without the given ASCII characters at both ends.
[[nodiscard]] std::string_view trimming(std::string_view text, std::string_view characters);

/// `text` without white space and line breaks (also non-ASCII ones) at both ends.
[[nodiscard]] std::string_view trimmingWhitespaceAndNewlines(std::string_view text);

/// The leading decimal integer of a text (leading white space and a sign allowed), 0 when there is none; clamped to
/// the type's range.
[[nodiscard]] std::int32_t intValue(std::string_view text);
[[nodiscard]] std::int64_t longLongValue(std::string_view text);

/// A text read as a boolean: true if, after white space, a sign and zeros, it begins with Y, y, T, t or 1 to 9.
[[nodiscard]] bool boolValue(std::string_view text);

/// The predicate "SELF LIKE pattern": case-sensitive over the whole text, "*" is any run of characters, "?" one
/// character, a backslash makes the next one literal. Linear in practice for any number of stars.
[[nodiscard]] bool isLike(std::string_view text, std::string_view pattern);

/// The text of a file that may be UTF-16 instead of UTF-8, without its byte order mark.
[[nodiscard]] std::string utf8Text(std::string_view bytes);

[[nodiscard]] bool isValidUTF8(std::string_view bytes);

/// UTF-16 units of a UTF-8 text and back; bytes that are not UTF-8 become U+FFFD, lone surrogates as well.
[[nodiscard]] std::u16string utf16(std::string_view text);
[[nodiscard]] std::string utf8(std::u16string_view text);

/// One line of the text, safe on a terminal: control characters (also the line break, and those beyond ASCII) as "\n",
/// "\u001B" and the like.
[[nodiscard]] std::string escapingControlCharacters(std::string_view text);
/// The same for a text that may have several lines: line breaks and tabs become blanks.
[[nodiscard]] std::string onOneLine(std::string text);

// Character classes, judged by one UTF-16 unit. A surrogate is in none of them.

/// Unicode general category Nd.
[[nodiscard]] bool isDecimalDigit(char16_t unit);
/// Unicode category Zs, tab, and the line breaks U+000A to U+000D, U+0085, U+2028, U+2029.
[[nodiscard]] bool isWhitespaceOrNewline(char16_t unit);
/// Unicode general categories P*.
[[nodiscard]] bool isPunctuation(char16_t unit);

} // namespace kestrav::platform
