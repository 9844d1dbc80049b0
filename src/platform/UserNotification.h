#pragma once

#include <string_view>

namespace kestrav::platform {

/// Shows one of the system's error notices: a title and a message, with nothing to answer. Returns as soon as it is
/// there, within seconds; the notice outlives the process. Any thread. Where the desktop cannot show it, it becomes a
/// dialog, which has a process of its own; without a display, or if the user wants that (KESTRAV_NOTICE=stderr), it
/// becomes "TITLE: MESSAGE" on standard error, in as many lines as the message has, and in one line of the system log.
void displayNotice(std::string_view title, std::string_view message);

/// True if there is a desktop or a display that could show notices, even if the user wants them on standard error.
[[nodiscard]] bool desktopIsLikely();

} // namespace kestrav::platform
