#include "platform/FileManager.h"

#include <cstdlib>

namespace kestrav::platform {

std::optional<std::string> temporaryDirectory() {
    const char *variable = std::getenv("TMPDIR");
    std::string path = variable != nullptr && *variable == '/' ? variable : "/tmp";
    while (path.size() > 1 && path.ends_with('/')) {
        path.pop_back();
    }
    if (!FileManager().directoryExistsAtPath(path)) {
        return std::nullopt;
    }
    return path;
}

} // namespace kestrav::platform
