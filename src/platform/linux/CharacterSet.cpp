#include "platform/text.h"

#include <utf8proc.h>

namespace kestrav::platform {

namespace {

/// Membership of the 128 ASCII characters, about which callers ask most of the time.
class AsciiSet {
public:
    constexpr explicit AsciiSet(std::string_view members) {
        for (const char c : members) {
            const auto code = static_cast<unsigned char>(c);
            bits_[code / 64U] |= std::uint64_t{1} << (code % 64U);
        }
    }
    [[nodiscard]] constexpr bool contains(char16_t unit) const {
        return ((bits_[unit / 64U] >> (unit % 64U)) & 1U) != 0;
    }

private:
    std::uint64_t bits_[2] = {};
};

constexpr AsciiSet asciiDigits("0123456789");
constexpr AsciiSet asciiWhitespace(" \t\n\v\f\r");
constexpr AsciiSet asciiPunctuation("!\"#%&'()*,-./:;?@[\\]_{}");

bool isAscii(char16_t unit) {
    return unit < 0x80;
}

} // namespace

bool isDecimalDigit(char16_t unit) {
    return isAscii(unit) ? asciiDigits.contains(unit) : utf8proc_category(unit) == UTF8PROC_CATEGORY_ND;
}

bool isWhitespaceOrNewline(char16_t unit) {
    if (isAscii(unit)) {
        return asciiWhitespace.contains(unit);
    }
    return unit == 0x85 || unit == 0x2028 || unit == 0x2029 || utf8proc_category(unit) == UTF8PROC_CATEGORY_ZS;
}

bool isPunctuation(char16_t unit) {
    if (isAscii(unit)) {
        return asciiPunctuation.contains(unit);
    }
    switch (utf8proc_category(unit)) {
    case UTF8PROC_CATEGORY_PC:
    case UTF8PROC_CATEGORY_PD:
    case UTF8PROC_CATEGORY_PS:
    case UTF8PROC_CATEGORY_PE:
    case UTF8PROC_CATEGORY_PI:
    case UTF8PROC_CATEGORY_PF:
    case UTF8PROC_CATEGORY_PO:
        return true;
    default:
        return false;
    }
}

} // namespace kestrav::platform
