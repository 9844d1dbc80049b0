#pragma once

#include "platform/format.h"
#include "platform/text.h"

#include <optional>
#include <string>
#include <string_view>
#include <type_traits>

namespace kestrav::platform {

/// Writes one message to the system log and, with date, time, process name and id, to standard error. Any thread; one
/// message is one write, so lines of several threads do not mix. A receiver that has stopped reading loses lines and
/// delays the program for at most a second.
void writeSystemLog(std::string_view message);

/// The same with a shorter text for standard error.
void writeSystemLog(std::string_view message, std::string_view onStandardError);

/// Makes an argument safe for the log: names come from archives, property lists and file systems, and must not be able
/// to end a line or control a terminal.
template <class T> [[nodiscard]] auto loggable(const T &argument) {
    if constexpr (std::is_same_v<T, std::optional<std::string>>) {
        return argument ? std::optional(escapingControlCharacters(*argument)) : std::nullopt;
    } else if constexpr (std::is_convertible_v<const T &, const char *>) {
        const char *text = argument;
        return text != nullptr ? std::optional(escapingControlCharacters(text)) : std::nullopt;
    } else if constexpr (std::is_convertible_v<const T &, std::string_view>) {
        return escapingControlCharacters(argument);
    } else {
        return FormatArgument(argument); // numbers, and lists, which are printed with escapes
    }
}

/// The text of a line of the log: like `format`, with its arguments `loggable`.
template <class... Arguments> [[nodiscard]] std::string logText(std::string_view text, const Arguments &...arguments) {
    return format(text, loggable(arguments)...);
}

/// Formats a message and writes it to the system log.
template <class... Arguments> void Log(std::string_view text, const Arguments &...arguments) {
    writeSystemLog(logText(text, arguments...));
}

} // namespace kestrav::platform
