#pragma once

#include <string>

namespace kestrav::platform {

/// True if the user wants notices on standard error alone (KESTRAV_NOTICE=stderr).
[[nodiscard]] bool noticesAreUnwanted();

/// What a dialog with an error notice shows.
struct NoticeDialog {
    std::string title;
    std::string message;
    bool usesSessionBus = true; ///< false where the desktop's bus may not answer
};

/// The only argument of the process that shows such a dialog.
inline constexpr const char *noticeDialogMarker = "__ksv_show_notice";

/// Shows the dialog in a process of its own, which ends when the user closes it. Waits until it is on the screen, for
/// some seconds at most: false if it does not get there.
[[nodiscard]] bool showInOwnProcess(const NoticeDialog &dialog);

/// What that process does; returns its status.
[[nodiscard]] int showNoticeDialog();

/// Shows the dialog until it is closed, and calls `shown` once it is on the screen. False if it cannot be shown. Main
/// thread of a process without other threads.
[[nodiscard]] bool runNoticeDialog(const NoticeDialog &dialog, void (*shown)());

} // namespace kestrav::platform
