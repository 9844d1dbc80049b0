#include "platform/posix/numberText.h"

#include <cstdlib>

namespace kestrav::platform {

std::string withDecimalPoint(std::string text) {
    // A window toolkit may set the user's locale for the whole process; its separator, one or more bytes, is the only
    // part of a number that is not among these characters.
    constexpr const char *ownCharacters = "0123456789+- .abcdefABCDEFxXpPinfINFT";
    const std::size_t begin = text.find_first_not_of(ownCharacters);
    if (begin != std::string::npos) {
        const std::size_t end = text.find_first_of(ownCharacters, begin);
        text.replace(begin, end == std::string::npos ? end : end - begin, ".");
    }
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
    return withDecimalPoint(text);
}

} // namespace kestrav::platform
