#include "platform/text.h"

namespace kestrav::platform {

namespace {

std::string fromUTF16(std::string_view bytes, bool bigEndian) {
    std::u16string units;
    units.reserve(bytes.size() / 2);
    for (std::size_t index = 0; index + 1 < bytes.size(); index += 2) {
        const unsigned first = static_cast<unsigned char>(bytes[index]);
        const unsigned second = static_cast<unsigned char>(bytes[index + 1]);
        units += static_cast<char16_t>(bigEndian ? first << 8U | second : second << 8U | first);
    }
    return utf8(units);
}

} // namespace

std::string utf8Text(std::string_view bytes) {
    if (bytes.starts_with("\xFE\xFF") || bytes.starts_with("\xFF\xFE")) {
        return fromUTF16(bytes.substr(2), bytes.starts_with("\xFE"));
    }
    // Such files begin with ASCII, of which one byte in UTF-16 is NUL; no text has NUL characters.
    if (bytes.size() >= 2 && (bytes[0] == '\0' || bytes[1] == '\0')) {
        return fromUTF16(bytes, bytes[0] == '\0');
    }
    constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
    return std::string(bytes.substr(bytes.starts_with(byteOrderMark) ? byteOrderMark.size() : 0));
}

} // namespace kestrav::platform
