#pragma once

#include <string_view>

namespace kestrav::platform {

/// Hands a message to the machine's log daemon. One that has stopped reading costs the process a second in all, and
/// from then on nothing but the lines; so does none being there. Any thread.
void sendToLogDaemon(std::string_view message);

} // namespace kestrav::platform
