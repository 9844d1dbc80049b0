#pragma once

#include "platform/PropertyList.h"

#include <string>
#include <string_view>

namespace kestrav::platform {

/// The entries of the text of a runtime's `release` file: lines KEY="VALUE", the quotes optional; other lines are
/// passed over.
[[nodiscard]] PropertyList::Dictionary parseReleaseFile(std::string_view text);

/// What a runtime directory without an Info.plist has to say about itself: `JavaVM`/`JVMVersion` and
/// `CFBundleIdentifier` from its `release` file. An empty dictionary if there is no such file.
[[nodiscard]] PropertyList releaseInformation(const std::string &directory);

} // namespace kestrav::platform
