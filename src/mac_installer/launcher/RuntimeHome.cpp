#include "mac_installer/launcher/RuntimeHome.h"

#include "platform/FileManager.h"
#include "platform/path.h"

namespace kestrav {

using platform::appendingPathComponent;

std::string runtimeHome(const std::string &runtimePath) {
    const std::string bundled = appendingPathComponent(runtimePath, "Contents/Home");
    const bool plain = !platform::fileExistsAtPath(bundled) &&
                       platform::fileExistsAtPath(appendingPathComponent(runtimePath, "bin/java"));
    return plain ? runtimePath : bundled;
}

std::string getJreLocation(const std::string &runtimePath) {
    const std::string home = runtimeHome(runtimePath);
    const std::string jre = appendingPathComponent(home, "jre");
    return platform::fileExistsAtPath(jre) ? jre : home;
}

} // namespace kestrav
