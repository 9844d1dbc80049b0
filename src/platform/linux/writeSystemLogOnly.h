#pragma once

#include <string_view>

namespace kestrav::platform {

/// Writes one message to the system log alone, where standard error is told in another form. Any thread.
void writeSystemLogOnly(std::string_view message);

} // namespace kestrav::platform
