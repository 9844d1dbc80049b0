#include "platform/FileManager.h"

#include "platform/ProcessInfo.h"
#include "platform/path.h"

namespace kestrav::platform {

namespace {

// From the process's copy: the window's library may be changing the real environment on another thread.
std::optional<std::string> absolutePathIn(std::string_view variable) {
    const auto path = ProcessInfo::processInfo().environmentVariable(variable);
    return path && path->starts_with('/') ? std::optional(std::string(withoutTrailingSlashes(*path))) : std::nullopt;
}

} // namespace

std::vector<std::string> temporaryDirectories() {
    return {absolutePathIn("TMPDIR").value_or("/tmp"), cacheDirectory(), systemPath("/var/tmp")};
}

std::string cacheDirectory() {
    const std::string usual = appendingPathComponent(homeDirectory(), ".cache");
    return appendingPathComponent(absolutePathIn("XDG_CACHE_HOME").value_or(usual), "kestrav");
}

std::vector<std::string> cacheDirectories() {
    return {cacheDirectory()}; // all applications share it
}

std::string failureLogFile(const std::string &application) {
    const std::string usual = appendingPathComponent(homeDirectory(), ".local/state");
    const std::string folder = appendingPathComponent(absolutePathIn("XDG_STATE_HOME").value_or(usual), "kestrav");
    return appendingPathComponent(folder, application + ".log");
}

} // namespace kestrav::platform
