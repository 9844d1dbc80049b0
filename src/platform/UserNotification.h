#pragma once

#include <string_view>

namespace kestrav::platform {

/// Shows an error notice of the system: a title and a message, nothing to answer. Returns at once (on Linux within a
/// second); the notice outlives the process. Any thread. Where the desktop takes none: one line "TITLE: MESSAGE" on
/// standard error, and the system log.
void displayNotice(std::string_view title, std::string_view message);

} // namespace kestrav::platform
