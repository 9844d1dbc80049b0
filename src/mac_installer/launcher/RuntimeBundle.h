#pragma once

#include "platform/Bundle.h"

#include <memory>
#include <string>

namespace kestrav {

/// Opens a Java runtime; null if the path does not lead to a directory. A runtime without an Info.plist describes
/// itself in a file "release". Elsewhere than on macOS it opens as `openDescribedRuntime` opens it.
[[nodiscard]] std::unique_ptr<platform::Bundle> openRuntime(const std::string &path);

/// The same, but on macOS, too, a runtime without an Info.plist opens as a bundle whose `JavaVM`/`JVMVersion`,
/// `EvarVersion` and `CFBundleIdentifier` are taken from its file "release".
[[nodiscard]] std::unique_ptr<platform::Bundle> openDescribedRuntime(const std::string &path);

} // namespace kestrav
