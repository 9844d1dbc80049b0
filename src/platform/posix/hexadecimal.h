#pragma once

#include <string>

namespace kestrav::platform {

/// Two lower-case digits for each byte.
template <class Bytes> [[nodiscard]] std::string hexadecimal(const Bytes &bytes) {
    constexpr const char *digits = "0123456789abcdef";
    std::string text;
    for (const unsigned char byte : bytes) {
        text += {digits[byte / 16], digits[byte % 16]};
    }
    return text;
}

} // namespace kestrav::platform
