#pragma once

#include "platform/PropertyList.h"

#include <optional>
#include <string>
#include <string_view>

namespace kestrav::platform {

/// A bundle's information dictionary, and what is wrong with the file that it was read from.
struct Information {
    PropertyList dictionary;
    std::optional<std::string> damage;
};

/// The entries of the text of a runtime's `release` file: lines KEY="VALUE", the quotes optional; other lines are
/// passed over.
[[nodiscard]] PropertyList::Dictionary parseReleaseFile(std::string_view text);

/// What a runtime directory without an Info.plist says about itself in its `release` file: `JavaVM`/`JVMVersion`,
/// `EvarVersion` and `CFBundleIdentifier`. An empty dictionary if there is no such file.
[[nodiscard]] Information releaseInformation(const std::string &directory);

} // namespace kestrav::platform
