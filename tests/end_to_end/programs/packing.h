#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

// The packing of the test runtimes' archives: a mark, a check sum, and every byte changed.

namespace kestrav::tests {

inline constexpr std::string_view packMark = "PACKED FOR TESTS\n";

inline std::string checkSum(std::string_view content) {
    std::uint32_t sum = 2166136261U;
    for (const char byte : content) {
        sum = (sum ^ static_cast<unsigned char>(byte)) * 16777619U;
    }
    return std::to_string(sum) + "\n";
}

inline std::string changed(std::string_view content) {
    std::string result(content);
    for (char &byte : result) {
        byte = static_cast<char>(byte ^ 0x5A);
    }
    return result;
}

inline std::string pack(std::string_view content) {
    return std::string(packMark) + checkSum(content) + changed(content);
}

inline std::optional<std::string> unpack(std::string_view packed) {
    const auto lineEnd = packed.find('\n', packMark.size());
    if (!packed.starts_with(packMark) || lineEnd == std::string_view::npos) {
        return std::nullopt;
    }
    std::string content = changed(packed.substr(lineEnd + 1));
    const bool whole = packed.substr(packMark.size(), lineEnd + 1 - packMark.size()) == checkSum(content);
    return whole ? std::optional(std::move(content)) : std::nullopt;
}

} // namespace kestrav::tests
