#pragma once

#include <string>
#include <string_view>
#include <vector>

// What differs between platforms about Java runtimes.

namespace kestrav::platform {

/// A fixed location of the system, such as /Library/Java, below the root that tests may move.
[[nodiscard]] std::string systemPath(std::string_view path);

/// The directories whose entries are installed runtimes, in the order they are searched.
[[nodiscard]] std::vector<std::string> standardRuntimeDirectories();

/// False for options that make runtimes of this platform refuse to start ("-Xdock:…" elsewhere than on macOS).
[[nodiscard]] bool runtimeKnowsOption(std::string_view option);

} // namespace kestrav::platform
