#include "platform/FileManager.h"

#include "platform/ProcessInfo.h"
#include "platform/path.h"

namespace kestrav::platform {

std::optional<std::string> temporaryDirectory() {
    // Not from the real environment: the window's library may be changing that on another thread.
    const auto variable = ProcessInfo::processInfo().environmentVariable("TMPDIR");
    std::string path(variable && variable->starts_with('/') ? withoutTrailingSlashes(*variable) : "/tmp");
    if (!FileManager().directoryExistsAtPath(path)) {
        return std::nullopt;
    }
    return path;
}

} // namespace kestrav::platform
