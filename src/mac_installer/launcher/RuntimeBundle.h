#pragma once

#include "platform/Bundle.h"

#include <memory>
#include <string>

namespace kestrav {

/// Opens a Java runtime; null if there is no directory. One that is no bundle says what it is in a file "release",
/// which counts elsewhere than on macOS: it opens as a bundle whose `JavaVM`/`JVMVersion`, `EvarVersion` and
/// `CFBundleIdentifier` are taken from there.
[[nodiscard]] std::unique_ptr<platform::Bundle> openRuntime(const std::string &path);

} // namespace kestrav
