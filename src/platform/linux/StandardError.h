#pragma once

#include <string_view>

namespace kestrav::platform {

/// Writes whole lines to standard error, after erasing the terminal's progress line. Waits at most a second for a
/// receiver that has stopped reading, and from then on not at all: false if the lines were lost. Any thread.
bool writeToStandardError(std::string_view lines);

/// Writes one message to the system log alone, for callers that write it to standard error in another form. Any thread.
void writeSystemLogOnly(std::string_view message);

} // namespace kestrav::platform
