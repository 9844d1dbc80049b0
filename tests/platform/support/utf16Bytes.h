#pragma once

#include <string>

namespace kestrav::tests {

/// An ASCII text as a UTF-16 file holds it.
inline std::string utf16Bytes(const std::string &ascii, bool bigEndian, const std::string &mark) {
    std::string bytes = mark;
    for (const char c : ascii) {
        bytes += bigEndian ? '\0' : c;
        bytes += bigEndian ? c : '\0';
    }
    return bytes;
}

} // namespace kestrav::tests
