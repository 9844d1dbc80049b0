#include "mac_installer/archive/TarHeader.h"

#include <limits>

namespace kestrav {

namespace {

/// The bits that mark a field as base 256, and its number as negative.
constexpr unsigned base256Mark = 0x80;
constexpr unsigned negativeMark = 0x40;

std::int64_t parseBase256(std::string_view field) {
    if ((static_cast<unsigned char>(field.front()) & negativeMark) != 0) {
        return -1;
    }
    std::int64_t value = static_cast<unsigned char>(field.front()) & ~base256Mark;
    for (const char character : field.substr(1)) {
        if (value > std::numeric_limits<std::int64_t>::max() >> 8U) {
            return -1;
        }
        value = value * 256 + static_cast<unsigned char>(character);
    }
    return value;
}

} // namespace

std::int64_t parseNumericField(std::string_view field) {
    if (!field.empty() && (static_cast<unsigned char>(field.front()) & base256Mark) != 0) {
        return parseBase256(field);
    }
    std::int64_t value = 0;
    bool taken = false;
    for (const char character : field) {
        if (character == '\0' || (taken && character == ' ')) {
            break;
        }
        if (!taken && (character == '0' || character == ' ')) {
            continue;
        }
        taken = true;
        value = value * 8 + (static_cast<signed char>(character) - '0'); // signed on every processor
    }
    return value;
}

std::string TarHeader::name() const {
    const bool isPosix = bytes_[262] == '\0'; // GNU headers have a space after the magic
    const std::string prefix = isPosix ? text(345, 155) : "";
    return prefix.empty() ? text(0, 100) : prefix + "/" + text(0, 100);
}

std::string TarHeader::text(std::size_t offset, std::size_t length) const {
    const std::string_view field = bytes_.substr(offset, length);
    return std::string(field.substr(0, field.find('\0')));
}

} // namespace kestrav
