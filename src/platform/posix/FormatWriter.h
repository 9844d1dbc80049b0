#pragma once

#include "platform/format.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace kestrav::platform {

/// One placeholder of a format, taken apart.
struct FormatPlaceholder {
    std::size_t position = 0; // 1-based; 0: the next argument
    bool left = false;
    bool plus = false;
    bool space = false;
    bool alternate = false;
    bool zero = false;
    bool wide = false; // a length modifier of 64 bits
    int width = 0;
    int precision = -1;
    char conversion = '\0';
};

/// A whole number of any argument.
struct FormatInteger {
    std::uint64_t magnitude = 0;
    bool negative = false;
};

/// The number that an argument holds, whatever its kind: the leading one of a text, 0 for lists and nil.
[[nodiscard]] FormatInteger integerOfArgument(const FormatArgument::Value &value);

/// True for the characters that can end a placeholder and take an argument.
[[nodiscard]] bool isFormatConversion(char character);

/// Appends an argument to a text as its placeholder asks for. The conversion is a known one.
void appendFormatted(std::string &text, const FormatPlaceholder &placeholder, const FormatArgument::Value &value);

} // namespace kestrav::platform
