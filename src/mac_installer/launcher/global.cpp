#include "mac_installer/launcher/global.h"

#include <forward_list>

namespace kestrav {

LaunchGlobals launchGlobals;

void setLaunchJavaVersion(const std::string &version) {
    // On purpose never destroyed: the launch library may read the text while the process ends.
    static auto &kept = *new std::forward_list<std::string>; // NOLINT(cppcoreguidelines-owning-memory)
    launchGlobals.launchJavaVersion = kept.emplace_front(version).c_str();
}

} // namespace kestrav
