#pragma once

#include "platform/Bundle.h"

#include <memory>
#include <string>

namespace kestrav {

/// Opens a Java runtime; null if the path does not lead to a directory. A runtime without an Info.plist describes
/// itself in a file "release". Elsewhere than on macOS it opens as a bundle whose `JavaVM`/`JVMVersion`, `EvarVersion`
/// and `CFBundleIdentifier` are taken from that file.
[[nodiscard]] std::unique_ptr<platform::Bundle> openRuntime(const std::string &path);

} // namespace kestrav
