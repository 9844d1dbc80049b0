#pragma once

#include <string_view>

namespace kestrav::platform {

/// Writes whole lines to standard error, where the terminal's progress line makes room for them. Waits at most a second
/// for a receiver that has stopped reading, and no longer from then on: false if the lines were lost. Any thread.
bool writeToStandardError(std::string_view lines);

/// Writes one message to the system log alone, where standard error is told in another form. Any thread.
void writeSystemLogOnly(std::string_view message);

} // namespace kestrav::platform
