#pragma once

#include <cstddef>
#include <cstdio>
#include <string>

namespace kestrav::platform {

/// What `printf` writes for one number. The conversion takes width and precision as arguments ("%*.*f").
template <class Number>
[[nodiscard]] std::string printed(const char *conversion, int width, int precision, Number number) {
    // Long enough for nearly every number; an exception is 1e308 with "%f".
    std::string text(64, '\0');
    for (;;) {
        const int size = std::snprintf(text.data(), text.size(), conversion, width, precision, number);
        if (size < 0) {
            return {};
        }
        const bool complete = static_cast<std::size_t>(size) < text.size();
        text.resize(static_cast<std::size_t>(size) + (complete ? 0 : 1));
        if (complete) {
            return text;
        }
    }
}

/// A printed number with "." as its decimal separator, whatever the locale's is.
[[nodiscard]] std::string withDecimalPoint(std::string text);

/// The shortest decimal text that reads back as the same number.
[[nodiscard]] std::string shortestText(double value);

} // namespace kestrav::platform
