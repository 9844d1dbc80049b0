#pragma once

#include "platform/format.h"

#include <string_view>

namespace kestrav::platform {

/// Writes one message to the system log and, with date, time, process name and id, to standard error. Any thread;
/// one message is one write, so lines of several threads do not mix.
void writeSystemLog(std::string_view message);

/// Formats a message and writes it to the system log.
template <class... Arguments> void Log(std::string_view text, const Arguments &...arguments) {
    writeSystemLog(format(text, arguments...));
}

} // namespace kestrav::platform
