#include "mac_installer/launcher/failedStart.h"

#include "mac_installer/launcher/InfoPlist.h"
#include "platform/Bundle.h"
#include "platform/Clock.h"
#include "platform/DebugLog.h"
#include "platform/FileManager.h"
#include "platform/PrivateLog.h"
#include "platform/UserNotification.h"
#include "platform/format.h"
#include "platform/text.h"

#include <unistd.h>

#include <algorithm>

namespace kestrav {

namespace {

constexpr const char *signature = "std::optional<std::string> recordFailedStart(const std::vector<std::string> &)";

/// The application's name as a file name.
std::string fileName() {
    constexpr std::size_t mostUnits = 80; // of three bytes at most: file systems take names of 255
    std::string name = platform::utf8(platform::utf16(applicationName()).substr(0, mostUnits));
    std::replace(name.begin(), name.end(), '/', '-');
    if (name.starts_with('.')) {
        name.front() = '_'; // it would be hidden, or name a folder
    }
    return name.empty() ? "launcher" : name;
}

} // namespace

std::optional<std::string> recordFailedStart(const std::vector<std::string> &lines) {
    const std::string &bundlePath = platform::Bundle::mainBundle().bundlePath();
    std::string record = platform::timestamp() + " [" + std::to_string(::getpid()) + "] " +
                         platform::escapingControlCharacters(bundlePath) + "\n";
    for (const std::string &line : lines) {
        record += "  " + platform::escapingControlCharacters(line) + "\n";
    }
    const std::string path = platform::failureLogFile(fileName());
    if (const auto error = platform::appendToPrivateLog(path, record)) {
        _DLog("%s [Line %d] could not write %@: %@", signature, __LINE__, path, error.message());
        return std::nullopt;
    }
    return path;
}

void tellOfFailedStart(const std::string &message, const std::vector<std::string> &details,
                       std::string_view recordMessage) {
    std::vector<std::string> lines = platform::componentsSeparatedBy(message, "\n");
    std::erase_if(lines, [&](const std::string &line) {
        return std::find(details.begin(), details.end(), line) != details.end(); // told below, with all the others
    });
    lines.insert(lines.end(), details.begin(), details.end());
    std::string notice = message;
    if (const auto path = recordFailedStart(lines)) {
        const std::string shown = platform::escapingControlCharacters(*path);
        notice += "\n" + (recordMessage.empty() ? shown : platform::format(recordMessage, shown));
    }
    platform::displayNotice(applicationName(), notice);
}

} // namespace kestrav
