#pragma once

#include <string_view>

namespace kestrav::platform {

/// Shows one of the system's error notices: a title and a message, with nothing to answer. Returns at once (on Linux
/// within a second); the notice outlives the process. Any thread. Where the desktop cannot show it, it becomes "TITLE:
/// MESSAGE" on standard error, in as many lines as the message has, and in one line of the system log.
void displayNotice(std::string_view title, std::string_view message);

} // namespace kestrav::platform
