#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

// What the double of CoreFoundation answers where nothing on this machine could, and what it was asked.

namespace kestrav::tests {

struct DisplayedNotice {
    double timeout = -1;
    unsigned long flags = ~0UL;
    bool hasIconSoundOrLocalization = false;
    std::optional<std::string> header;
    std::optional<std::string> message;
    std::optional<std::string> buttonTitle;
    bool operator==(const DisplayedNotice &) const = default;
};

/// Answers `CFUserNotificationDisplayNotice`: 0 if the notice is shown.
void setDisplayNotice(std::function<std::int32_t(const DisplayedNotice &)> display);

/// What the executables of bundles consist of; an entry without a number is an object of another kind.
void setArchitectures(std::optional<std::vector<std::optional<std::int32_t>>> architectures);

/// Answers `sysctlbyname`: the number of bytes copied to the receiver, none for an error.
void setSysctl(std::function<std::optional<std::vector<std::uint8_t>>(const std::string &name)> control);

/// The languages that tables are looked for in, the preferred one first.
void setLanguagesOfBundles(const std::vector<std::string> &languages);

} // namespace kestrav::tests
