#include "platform/posix/numberText.h"

#include <cstddef>
#include <cstdio>
#include <cstdlib>

namespace kestrav::platform {

namespace {

std::string printed(const char *conversion, int width, int precision, double value) {
    // Short enough for nearly every number; 1e308 with "%f" is one of the others.
    std::string text(64, '\0');
    for (;;) {
        const int size = std::snprintf(text.data(), text.size(), conversion, width, precision, value);
        if (size < 0) {
            return {};
        }
        const bool complete = static_cast<std::size_t>(size) < text.size();
        text.resize(static_cast<std::size_t>(size) + (complete ? 0 : 1));
        if (complete) {
            return text;
        }
    }
}

/// A window toolkit may set the user's locale for the whole process; its separator, one or more bytes, is the only
/// thing in a number that is none of these characters.
void restoreDecimalPoint(std::string &text) {
    constexpr const char *ownCharacters = "0123456789+- .abcdefABCDEFxXpPinfINFT";
    const std::size_t begin = text.find_first_not_of(ownCharacters);
    if (begin != std::string::npos) {
        const std::size_t end = text.find_first_of(ownCharacters, begin);
        text.replace(begin, end == std::string::npos ? end : end - begin, ".");
    }
}

} // namespace

std::string formatDouble(double value, const std::string &flags, int width, int precision, char conversion) {
    const std::string full = "%" + flags + "*.*" + conversion;
    std::string text = printed(full.c_str(), width, precision, value);
    restoreDecimalPoint(text);
    return text;
}

std::string shortestText(double value) {
    std::string text;
    for (int precision = 15; precision <= 17; ++precision) {
        text = printed("%*.*g", 0, precision, value);
        if (std::strtod(text.c_str(), nullptr) == value) {
            break;
        }
    }
    restoreDecimalPoint(text);
    return text;
}

} // namespace kestrav::platform
