#include "platform/posix/unicode.h"

#include "platform/format.h"
#include "platform/text.h"

#include <algorithm>

namespace kestrav::platform {

namespace {

constexpr char32_t replacementCharacter = 0xFFFD;

constexpr bool isSurrogate(char32_t character) {
    return character >= 0xD800 && character <= 0xDFFF;
}

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

/// The control character at the beginning of a text, or 0: U+0001 to U+001F, U+007F to U+009F. NUL is U+0100 here.
unsigned leadingControl(std::string_view text) {
    constexpr unsigned nul = 0x100;
    const auto byte = static_cast<unsigned char>(text.front());
    if (byte < 0x20 || byte == 0x7F) {
        return byte == 0 ? nul : byte;
    }
    if (byte == 0xC2 && text.size() > 1) { // the first of the two bytes of U+0080 to U+00BF
        const auto second = static_cast<unsigned char>(text[1]);
        return second >= 0x80 && second < 0xA0 ? second : 0;
    }
    return 0;
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

std::string utf8Text(std::string_view bytes) {
    if (bytes.starts_with("\xFE\xFF") || bytes.starts_with("\xFF\xFE")) {
        return fromUTF16(bytes.substr(2), bytes.starts_with("\xFE"));
    }
    // Such files begin with ASCII, where one byte of each UTF-16 unit is NUL; no text in another encoding has NUL
    // characters.
    if (bytes.size() >= 2 && (bytes[0] == '\0' || bytes[1] == '\0')) {
        return fromUTF16(bytes, bytes[0] == '\0');
    }
    constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
    return std::string(bytes.substr(bytes.starts_with(byteOrderMark) ? byteOrderMark.size() : 0));
}

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

std::optional<std::size_t> offsetOfInvalidText(std::string_view text) {
    for (std::size_t begin = 0; begin < text.size();) {
        const auto end = std::min(text.find('\n', begin), text.size());
        const std::string_view line = text.substr(begin, end - begin);
        if (!isValidUTF8(line) || line.find('\0') != std::string_view::npos) {
            return begin;
        }
        begin = end + 1;
    }
    return std::nullopt;
}

} // namespace kestrav::platform
