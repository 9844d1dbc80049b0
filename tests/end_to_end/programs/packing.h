#pragma once

#include <optional>
#include <string>
#include <string_view>

// The packing of the test runtimes' archives: a mark, and every byte changed.

namespace kestrav::tests {

inline constexpr std::string_view packMark = "PACKED FOR TESTS\n";

inline std::string changed(std::string_view content) {
    std::string result(content);
    for (char &byte : result) {
        byte = static_cast<char>(byte ^ 0x5A);
    }
    return result;
}

inline std::string pack(std::string_view content) {
    return std::string(packMark) + changed(content);
}

inline std::optional<std::string> unpack(std::string_view packed) {
    return packed.starts_with(packMark) ? std::optional(changed(packed.substr(packMark.size()))) : std::nullopt;
}

} // namespace kestrav::tests
