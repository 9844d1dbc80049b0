#pragma once

#include <string>
#include <string_view>

// What this process runs on.

namespace kestrav::platform {

[[nodiscard]] bool isMacOS();

/// False if the file is known to be a program for another kind of processor than this process's. The 32-bit form of the
/// same kind is accepted, and so is a script.
[[nodiscard]] bool runsOnThisProcessor(const std::string &program);

/// True if this process can load the library: it has code for exactly this process's kind of processor, and is whole.
[[nodiscard]] bool loadsIntoThisProcess(const std::string &library);

/// True if a library for this process's processor ends before what the system would map of it; loading it would end
/// this process with a bus error. Always false on macOS, which checks that itself.
[[nodiscard]] bool isCutOff(const std::string &library);

/// The folder that Java runtimes before version 9 have below "lib" for this process's processor ("amd64"); empty where
/// they have none.
[[nodiscard]] std::string_view processorFolder();

} // namespace kestrav::platform
