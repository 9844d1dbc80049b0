#include "platform/UserNotification.h"

#include "platform/Bundle.h"
#include "platform/ProcessInfo.h"
#include "platform/Thread.h"
#include "platform/linux/Display.h"
#include "platform/linux/Module.h"
#include "platform/linux/NoticeModule.h"
#include "platform/linux/SessionBus.h"
#include "platform/linux/StandardError.h"
#include "platform/posix/NoticeDialog.h"
#include "platform/testing.h"
#include "platform/text.h"

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <system_error>

namespace kestrav::platform {

namespace {

constexpr std::chrono::milliseconds Patience{1000};

/// What has become of a notice for the desktop.
enum class Outcome { shown, refused, unanswered };

/// A notice that is being delivered. Shared with the thread that delivers it, which may never return.
struct Delivery {
    std::string bundlePath;
    SessionBus bus;
    std::string application;
    std::string title;
    std::string message;

    std::mutex mutex;
    std::condition_variable ended;
    bool done = false;
    bool shown = false;
};

bool deliver(const Delivery &delivery) {
    const auto module = openModule<KestravNoticeModule>(delivery.bundlePath);
    if (!module.failure.empty()) {
        return false;
    }
    KestravNotice notice{};
    notice.busAddress = delivery.bus.address.empty() ? nullptr : delivery.bus.address.c_str();
    notice.busSocket = delivery.bus.socket.c_str();
    notice.application = delivery.application.c_str();
    notice.title = delivery.title.c_str();
    notice.message = delivery.message.c_str();
    notice.milliseconds = static_cast<int>(Patience.count());
    return module.functions.show(&notice) == 1;
}

/// Delivers the notice on a thread of its own, because neither loading a library nor connecting has a time limit.
Outcome showOnDesktop(const std::shared_ptr<Delivery> &delivery) {
    try {
        Thread([delivery] {
            bool shown = false;
            try {
                shown = deliver(*delivery);
            } catch (const std::exception &) {
                shown = false; // no memory; writing to standard error needs none
            }
            const std::lock_guard lock(delivery->mutex);
            delivery->shown = shown;
            delivery->done = true;
            delivery->ended.notify_one();
        }).detach();
    } catch (const std::system_error &) {
        return Outcome::refused; // no thread could be created
    }
    std::unique_lock lock(delivery->mutex);
    if (!delivery->ended.wait_for(lock, Patience, [&] { return delivery->done; })) {
        return Outcome::unanswered;
    }
    return delivery->shown ? Outcome::shown : Outcome::refused;
}

void showOnStandardError(const std::string &title, std::string_view message) {
    std::string lines;
    for (const std::string &line : componentsSeparatedBy(title + ": " + std::string(message), "\n")) {
        lines += onOneLine(line) + "\n";
    }
    static_cast<void>(writeToStandardError(lines)); // first, because the log may have to be waited for
    writeSystemLogOnly(onOneLine(title + ": " + std::string(message)));
}

} // namespace

void displayNotice(std::string_view title, std::string_view message) {
    if (const auto &replacement = testing::replacements().notice) {
        replacement(title, message);
        return;
    }
    const auto delivery = std::make_shared<Delivery>();
    delivery->application = ProcessInfo::processInfo().processName();
    delivery->title = title.empty() ? delivery->application : std::string(title);
    delivery->message = message;
    delivery->bundlePath = Bundle::mainBundle().bundlePath();
    if (noticesAreUnwanted()) {
        showOnStandardError(delivery->title, message);
        return;
    }
    const auto bus = findSessionBus();
    delivery->bus = bus.value_or(SessionBus());
    const Outcome outcome = bus ? showOnDesktop(delivery) : Outcome::refused;
    if (outcome == Outcome::shown) {
        return;
    }
    const bool busAnswers = bus && outcome != Outcome::unanswered;
    if (!displayIsLikely() || !showInOwnProcess({delivery->title, delivery->message, busAnswers})) {
        showOnStandardError(delivery->title, message);
    }
}

bool desktopIsLikely() {
    return findSessionBus() || displayIsLikely();
}

} // namespace kestrav::platform
