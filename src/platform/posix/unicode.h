#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace kestrav::platform {

/// One character at the beginning of a UTF-8 text.
struct DecodedCharacter {
    char32_t character = 0xFFFD;
    std::size_t size = 1;
    bool valid = false;
};

/// Reads the first character of a text that is not empty. A byte that begins no character counts as one invalid
/// character (U+FFFD) of one byte.
[[nodiscard]] DecodedCharacter decodeCharacter(std::string_view text);

/// Appends a character as UTF-8; surrogates and values beyond U+10FFFF become U+FFFD.
void appendCharacter(std::string &text, char32_t character);

/// Where the first line begins that is not UTF-8 or holds a NUL; empty if there is none.
[[nodiscard]] std::optional<std::size_t> offsetOfInvalidText(std::string_view text);

} // namespace kestrav::platform
