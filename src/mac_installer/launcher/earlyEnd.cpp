#include "mac_installer/launcher/earlyEnd.h"

#include "mac_installer/launcher/InfoPlist.h"
#include "mac_installer/launcher/Launcher.h"
#include "mac_installer/launcher/errorLines.h"
#include "platform/ErrorCopy.h"
#include "platform/UserNotification.h"
#include "platform/format.h"

#include <atomic>
#include <exception>
#include <string>
#include <vector>

namespace kestrav {

namespace {

constexpr std::int64_t firstSeconds = 10'000'000'000; // nanoseconds

/// Shows the message or, where the table lacks it because it is an older one, an internal error.
void display(int status, const std::vector<std::string> &said) {
    const char *key = said.empty() ? "JavaReturnedError" : "JavaEndedError";
    const bool isShown =
        Launcher::displayMessage(key, {applicationName(), std::to_string(status)}, said, lastOfErrors(said));
    if (!isShown) {
        const std::string reason = platform::format("the Java program has ended with status %d", status);
        Launcher::displayError("dorvik.InternalError", said.empty() ? reason : reason + ": " + said.back(),
                               std::nullopt, said);
    }
}

} // namespace

bool explainsEarlyEnds() {
    return platform::standardErrorIsUnseen() && platform::desktopIsLikely();
}

bool isEarlyEnd(int status, std::int64_t nanoseconds) {
    return status != 0 && nanoseconds < firstSeconds;
}

void displayEarlyEnd(int status, std::string_view errors) {
    display(status, errorLines(errors));
}

void displayEarlyReturn(int status) noexcept {
    static std::atomic<bool> displayed = false;
    try {
        if (explainsEarlyEnds() && !displayed.exchange(true)) {
            display(status, {});
        }
    } catch (const std::exception &) {
        return; // without memory; the status tells
    }
}

} // namespace kestrav
