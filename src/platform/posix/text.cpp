#include "platform/text.h"

#include "platform/posix/unicode.h"

#include <algorithm>
#include <limits>

namespace kestrav::platform {

namespace {

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
    // Counts downwards, because the negative range is the larger one.
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
    // No white-space character is longer than three bytes, so the last character is found by trying each length.
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
    // Only the last star is ever tried again: what comes before it has already matched at its leftmost place.
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

} // namespace kestrav::platform
