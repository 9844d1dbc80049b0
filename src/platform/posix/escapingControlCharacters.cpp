#include "platform/text.h"

#include "platform/format.h"

#include <algorithm>

namespace kestrav::platform {

namespace {

/// The control character at the beginning of a text, or 0: U+0001 to U+001F, U+007F to U+009F. NUL is U+0100 here.
unsigned leadingControl(std::string_view text) {
    constexpr unsigned nul = 0x100;
    const auto byte = static_cast<unsigned char>(text.front());
    if (byte < 0x20 || byte == 0x7F) {
        return byte == 0 ? nul : byte;
    }
    if (byte == 0xC2 && text.size() > 1) { // the two bytes of U+0080 to U+00BF
        const auto second = static_cast<unsigned char>(text[1]);
        return second >= 0x80 && second < 0xA0 ? second : 0;
    }
    return 0;
}

} // namespace

std::string escapingControlCharacters(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    while (!text.empty()) {
        const unsigned control = leadingControl(text);
        if (control == 0) {
            result += text.front();
        } else if (control == '\n' || control == '\t' || control == '\r') {
            result += control == '\n' ? "\\n" : control == '\t' ? "\\t" : "\\r";
        } else {
            result += format("\\u%04X", control & 0xFFU);
        }
        text.remove_prefix(control >= 0x80 && control < 0x100 ? 2 : 1);
    }
    return result;
}

std::string onOneLine(std::string text) {
    std::replace_if(
        text.begin(), text.end(), [](char c) { return c == '\n' || c == '\t' || c == '\r'; }, ' ');
    return escapingControlCharacters(text);
}

} // namespace kestrav::platform
