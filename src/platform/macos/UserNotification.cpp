#include "platform/UserNotification.h"

#include "platform/SystemLog.h"
#include "platform/macos/CFText.h"
#include "platform/posix/NeverDestroyed.h"
#include "platform/testing.h"

#include <functional>

namespace kestrav::platform {

namespace {

using Notice = std::function<void(std::string_view, std::string_view)>;

Notice &noticeReplacement() {
    static NeverDestroyed<Notice> replacement;
    return replacement.get();
}

} // namespace

void testing::setNotice(Notice notice) {
    noticeReplacement() = std::move(notice);
}

void displayNotice(std::string_view title, std::string_view message) {
    if (const Notice &replacement = noticeReplacement()) {
        replacement(title, message);
        return;
    }
    constexpr CFTimeInterval noTimeout = 0;
    const SInt32 error = CFUserNotificationDisplayNotice(noTimeout, kCFUserNotificationStopAlertLevel, nullptr, nullptr,
                                                         nullptr, cfText(title).get(), cfText(message).get(), nullptr);
    if (error != 0) {
        Log("%@: %@", title, message); // also on standard error
    }
}

} // namespace kestrav::platform
