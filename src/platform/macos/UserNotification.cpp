#include "platform/UserNotification.h"

#include "platform/SystemLog.h"
#include "platform/macos/CFValue.h"
#include "platform/posix/NoticeDialog.h"
#include "platform/testing.h"

namespace kestrav::platform {

void displayNotice(std::string_view title, std::string_view message) {
    if (const auto &replacement = testing::replacements().notice) {
        replacement(title, message);
        return;
    }
    if (noticesAreUnwanted()) {
        Log("%@: %@", title, message);
        return;
    }
    constexpr CFTimeInterval noTimeout = 0;
    const SInt32 error = CFUserNotificationDisplayNotice(noTimeout, kCFUserNotificationStopAlertLevel, nullptr, nullptr,
                                                         nullptr, cfText(title).get(), cfText(message).get(), nullptr);
    if (error != 0 && !showInOwnProcess({std::string(title), std::string(message)})) {
        Log("%@: %@", title, message); // also on standard error
    }
}

bool desktopIsLikely() {
    return true;
}

} // namespace kestrav::platform
