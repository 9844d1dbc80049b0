#include "mac_installer/Launcher.h"

#include "mac_installer/InfoPlist.h"
#include "platform/SystemLog.h"
#include "platform/UserNotification.h"
#include "platform/path.h"

namespace kestrav {

using platform::Bundle;

namespace {

/// Opens the bundle of messages that "ksv.baseDir" leads to; null if there is none.
std::unique_ptr<Bundle> configuredMessages(std::string_view baseDir) {
    const std::string directory = replacingAppPackage(baseDir, Bundle::mainBundle().bundlePath());
    return Bundle::create(platform::appendingPathComponent(directory, ".kestrav/Messages.bundle"));
}

/// The localized text of a message key, empty if the bundle of messages cannot be opened.
OptionalText localizedMessage(std::string_view key) {
    const auto baseDir = infoDictionary().stringForKey("ksv.baseDir");
    if (!baseDir) {
        return Bundle::mainBundle().localizedStringForKey(key, key);
    }
    const auto messages = configuredMessages(*baseDir);
    return messages ? std::optional(messages->localizedStringForKey(key, key)) : std::nullopt;
}

} // namespace

std::unique_ptr<Launcher> Launcher::launcher() {
    return std::make_unique<Launcher>();
}

void Launcher::displayError(std::string_view key, const OptionalText &info1, const OptionalText &info2) {
    static constexpr const char *signature = "+[Launcher displayError:info1:info2:]";

    const OptionalText text = localizedMessage(key);
    if (!text) {
        platform::Log("%s [Line %d] message %@ not found", signature, __LINE__, key);
        return;
    }
    // Without an argument the text is no format: a "%" in it stands for itself.
    const std::string message = info1 ? platform::format(*text, *info1, info2) : *text;
    platform::displayNotice(bundleName().value_or(""), message);
}

} // namespace kestrav
