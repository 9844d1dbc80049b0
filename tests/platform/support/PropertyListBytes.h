#pragma once

#include <cstddef>
#include <initializer_list>
#include <string>
#include <vector>

// The bytes of property lists and string tables in files.

namespace kestrav::tests {

inline std::string xml(const std::string &value) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n" + value + "\n</plist>\n";
}

inline std::string repeated(const std::string &text, std::size_t count) {
    std::string result;
    for (; count > 0; --count) {
        result += text;
    }
    return result;
}

/// A number of two bytes, big-endian.
inline std::string twoBytes(std::size_t number) {
    return {static_cast<char>(number >> 8U), static_cast<char>(number & 0xFFU)};
}

/// A binary list of the given objects, with offsets and references of two bytes; the first object is the outermost.
inline std::string binary(const std::vector<std::string> &objects) {
    std::string bytes = "bplist00";
    std::string offsets;
    for (const std::string &object : objects) {
        offsets += twoBytes(bytes.size());
        bytes += object;
    }
    const std::string table = twoBytes(bytes.size());
    const std::string zeros(6, '\0');
    return bytes + offsets + zeros + "\x02\x02" + zeros + twoBytes(objects.size()) + zeros + twoBytes(0) + zeros +
           table;
}

inline std::string reference(const std::string &marker, std::initializer_list<std::size_t> objects) {
    std::string bytes = marker;
    for (const std::size_t object : objects) {
        bytes += twoBytes(object);
    }
    return bytes;
}

inline std::string text(const std::string &ascii) {
    return static_cast<char>(0x50U | ascii.size()) + ascii;
}

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
