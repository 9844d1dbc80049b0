#include "mac_installer/launcher/RuntimeHome.h"

#include "platform/path.h"

namespace kestrav {

using platform::appendingPathComponent;

std::string runtimeHome(const std::string &runtimePath, const platform::FileManager &fileManager) {
    const std::string bundled = appendingPathComponent(runtimePath, "Contents/Home");
    const bool plain = !fileManager.fileExistsAtPath(bundled) &&
                       fileManager.fileExistsAtPath(appendingPathComponent(runtimePath, "bin/java"));
    return plain ? runtimePath : bundled;
}

std::string getJreLocation(const std::string &runtimePath, const platform::FileManager &fileManager) {
    const std::string home = runtimeHome(runtimePath, fileManager);
    const std::string jre = appendingPathComponent(home, "jre");
    return fileManager.fileExistsAtPath(jre) ? jre : home;
}

} // namespace kestrav
