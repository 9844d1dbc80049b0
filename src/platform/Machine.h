#pragma once

#include <string>
#include <string_view>
#include <vector>

// What differs between platforms about Java runtimes.

namespace kestrav::platform {

/// A directory whose entries are installed runtimes.
struct RuntimeDirectory {
    std::string path;
    /// False where names begin with anything, so that only what a runtime declares tells its version.
    bool namedByVersion = true;
};

/// Those of the system, in the order they are searched.
[[nodiscard]] std::vector<RuntimeDirectory> standardRuntimeDirectories();

/// False if the file is known to be a program for another kind of processor than this process's. The 32-bit form of the
/// same kind will do, and so will a script.
[[nodiscard]] bool runsOnThisProcessor(const std::string &program);

/// The folder that runtimes before version 9 have below "lib" for this process's processor ("amd64"); empty where they
/// have none.
[[nodiscard]] std::string_view processorFolder();

/// False for options that make runtimes of this platform refuse to start ("-Xdock:…" elsewhere than on macOS).
[[nodiscard]] bool runtimeKnowsOption(std::string_view option);

} // namespace kestrav::platform
