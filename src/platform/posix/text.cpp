#include "platform/text.h"

#include "platform/posix/unicode.h"

#include <algorithm>
#include <limits>

namespace kestrav::platform {

namespace {

constexpr char32_t replacementCharacter = 0xFFFD;

constexpr bool isSurrogate(char32_t character) {
    return character >= 0xD800 && character <= 0xDFFF;
}

bool isAsciiDigit(char c) {
    return c >= '0' && c <= '9';
}

std::string_view withoutLeadingWhitespace(std::string_view text) {
    while (!text.empty()) {
        const DecodedCharacter first = decodeCharacter(text);
        if (first.character > 0xFFFF || !isWhitespaceOrNewline(static_cast<char16_t>(first.character))) {
            break;
        }
        text.remove_prefix(first.size);
    }
    return text;
}

template <class Integer> Integer leadingInteger(std::string_view text) {
    using Limits = std::numeric_limits<Integer>;
    text = withoutLeadingWhitespace(text);
    const bool negative = text.starts_with('-');
    if (negative || text.starts_with('+')) {
        text.remove_prefix(1);
    }
    // Counted downwards: the negative range is the larger one.
    Integer value = 0;
    for (const char c : text) {
        if (!isAsciiDigit(c)) {
            break;
        }
        const auto digit = static_cast<Integer>(c - '0');
        if (value < (Limits::min() + digit) / 10) {
            return negative ? Limits::min() : Limits::max();
        }
        value = static_cast<Integer>(value * 10 - digit);
    }
    if (negative) {
        return value;
    }
    return value == Limits::min() ? Limits::max() : static_cast<Integer>(-value);
}

} // namespace

DecodedCharacter decodeCharacter(std::string_view text) {
    const auto byte = [text](std::size_t index) { return static_cast<unsigned char>(text[index]); };
    const unsigned char lead = byte(0);
    if (lead < 0x80) {
        return {lead, 1, true};
    }
    std::size_t size = 0;
    char32_t character = 0;
    char32_t smallest = 0;
    if (lead >= 0xC2 && lead <= 0xDF) {
        size = 2;
        character = lead & 0x1FU;
        smallest = 0x80;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        size = 3;
        character = lead & 0x0FU;
        smallest = 0x800;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        size = 4;
        character = lead & 0x07U;
        smallest = 0x10000;
    }
    if (size == 0 || text.size() < size) {
        return {};
    }
    for (std::size_t index = 1; index < size; ++index) {
        if ((byte(index) & 0xC0U) != 0x80U) {
            return {};
        }
        character = (character << 6U) | (byte(index) & 0x3FU);
    }
    if (character < smallest || character > 0x10FFFF || isSurrogate(character)) {
        return {};
    }
    return {character, size, true};
}

void appendCharacter(std::string &text, char32_t character) {
    if (character > 0x10FFFF || isSurrogate(character)) {
        character = replacementCharacter;
    }
    const auto put = [&text](char32_t byte) { text += static_cast<char>(byte); };
    const auto putTail = [&](unsigned shift) { put(0x80U | ((character >> shift) & 0x3FU)); };
    if (character < 0x80) {
        put(character);
    } else if (character < 0x800) {
        put(0xC0U | (character >> 6U));
        putTail(0);
    } else if (character < 0x10000) {
        put(0xE0U | (character >> 12U));
        putTail(6);
        putTail(0);
    } else {
        put(0xF0U | (character >> 18U));
        putTail(12);
        putTail(6);
        putTail(0);
    }
}

std::string replacingOccurrences(std::string_view text, std::string_view target, std::string_view replacement) {
    std::string result;
    std::size_t position = 0;
    while (!target.empty()) {
        const std::size_t found = text.find(target, position);
        if (found == std::string_view::npos) {
            break;
        }
        result.append(text, position, found - position).append(replacement);
        position = found + target.size();
    }
    return result.append(text, position);
}

std::vector<std::string> componentsSeparatedBy(std::string_view text, std::string_view separators) {
    std::vector<std::string> pieces;
    for (;;) {
        const std::size_t end = text.find_first_of(separators);
        pieces.emplace_back(text.substr(0, end));
        if (end == std::string_view::npos) {
            return pieces;
        }
        text.remove_prefix(end + 1);
    }
}

std::string_view trimming(std::string_view text, std::string_view characters) {
    const std::size_t begin = text.find_first_not_of(characters);
    if (begin == std::string_view::npos) {
        return {};
    }
    return text.substr(begin, text.find_last_not_of(characters) - begin + 1);
}

std::string_view trimmingWhitespaceAndNewlines(std::string_view text) {
    text = withoutLeadingWhitespace(text);
    // No white space is longer than three bytes; what the last character is, is tried by length.
    while (!text.empty()) {
        bool removed = false;
        for (std::size_t size = 1; size <= std::min<std::size_t>(3, text.size()) && !removed; ++size) {
            const DecodedCharacter last = decodeCharacter(text.substr(text.size() - size));
            removed = last.valid && last.size == size && isWhitespaceOrNewline(static_cast<char16_t>(last.character));
            if (removed) {
                text.remove_suffix(size);
            }
        }
        if (!removed) {
            break;
        }
    }
    return text;
}

std::int32_t intValue(std::string_view text) {
    return leadingInteger<std::int32_t>(text);
}
std::int64_t longLongValue(std::string_view text) {
    return leadingInteger<std::int64_t>(text);
}

bool boolValue(std::string_view text) {
    text = withoutLeadingWhitespace(text);
    if (text.starts_with('-') || text.starts_with('+')) {
        text.remove_prefix(1);
    }
    const std::size_t significant = text.find_first_not_of('0');
    return significant != std::string_view::npos &&
           std::string_view("YyTt123456789").find(text[significant]) != std::string_view::npos;
}

bool isLike(std::string_view text, std::string_view pattern) {
    // Only the last star ever needs another try: what stood before it has found its leftmost place already.
    std::size_t t = 0;
    std::size_t p = 0;
    std::size_t afterStar = std::string_view::npos;
    std::size_t starText = 0;
    while (t < text.size() || p < pattern.size()) {
        if (p < pattern.size() && pattern[p] == '*') {
            afterStar = ++p;
            starText = t;
            continue;
        }
        if (p < pattern.size() && t < text.size()) {
            if (pattern[p] == '?') {
                ++p;
                t += decodeCharacter(text.substr(t)).size;
                continue;
            }
            const std::size_t literal = pattern[p] == '\\' && p + 1 < pattern.size() ? p + 1 : p;
            if (pattern[literal] == text[t]) {
                p = literal + 1;
                ++t;
                continue;
            }
        }
        if (afterStar == std::string_view::npos || starText >= text.size()) {
            return false;
        }
        starText += decodeCharacter(text.substr(starText)).size;
        t = starText;
        p = afterStar;
    }
    return true;
}

bool isValidUTF8(std::string_view bytes) {
    while (!bytes.empty()) {
        const DecodedCharacter first = decodeCharacter(bytes);
        if (!first.valid) {
            return false;
        }
        bytes.remove_prefix(first.size);
    }
    return true;
}

std::u16string utf16(std::string_view text) {
    std::u16string units;
    units.reserve(text.size());
    while (!text.empty()) {
        const DecodedCharacter first = decodeCharacter(text);
        text.remove_prefix(first.size);
        if (first.character < 0x10000) {
            units += static_cast<char16_t>(first.character);
        } else {
            units += static_cast<char16_t>(0xD7C0U + (first.character >> 10U));
            units += static_cast<char16_t>(0xDC00U | (first.character & 0x3FFU));
        }
    }
    return units;
}

std::string utf8(std::u16string_view text) {
    std::string result;
    result.reserve(text.size());
    for (std::size_t index = 0; index < text.size(); ++index) {
        char32_t character = text[index];
        const char32_t next = index + 1 < text.size() ? text[index + 1] : 0;
        if (character >= 0xD800 && character <= 0xDBFF && next >= 0xDC00 && next <= 0xDFFF) {
            character = 0x10000U + ((character - 0xD800U) << 10U) + (next - 0xDC00U);
            ++index;
        }
        appendCharacter(result, character);
    }
    return result;
}

} // namespace kestrav::platform
