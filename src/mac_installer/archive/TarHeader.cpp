#include "mac_installer/archive/TarHeader.h"

namespace kestrav {

std::int64_t parseOctalField(std::string_view field) {
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
        // Signed on every processor, so that a base-256 field is below zero and never taken for a small size.
        value = value * 8 + (static_cast<signed char>(character) - '0');
    }
    return value;
}

std::string TarHeader::linkName() const {
    const std::string_view field = bytes_.substr(157, 100);
    return std::string(field.substr(0, field.find('\0')));
}

} // namespace kestrav
