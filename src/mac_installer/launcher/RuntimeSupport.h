#pragma once

#include <string>
#include <string_view>
#include <vector>

// What differs between platforms about Java runtimes.

namespace kestrav {

/// A directory whose entries are installed runtimes.
struct RuntimeDirectory {
    std::string path;
    /// False where names begin with anything, so that only what a runtime declares tells its version.
    bool namedByVersion = true;
};

/// Those of the system, in the order they are searched.
[[nodiscard]] std::vector<RuntimeDirectory> standardRuntimeDirectories();

/// False for options that make runtimes of this platform refuse to start ("-Xdock:…" elsewhere than on macOS).
[[nodiscard]] bool runtimeKnowsOption(std::string_view option);

/// True for options about what a virtual machine records of classes. Some refuse to start with two of them.
[[nodiscard]] bool concernsRecordings(std::string_view option);

} // namespace kestrav
