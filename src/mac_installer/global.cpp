#include "mac_installer/global.h"

#include "platform/ProcessInfo.h"

#include <forward_list>

namespace kestrav {

LaunchGlobals launchGlobals;

namespace {
constexpr int undecided = 0;
constexpr int on = 1;
constexpr int off = 2;
} // namespace

void setLaunchJavaVersion(const std::optional<std::string> &version) {
    // On purpose never destroyed: the launch library may read the text while the process ends.
    static auto &kept = *new std::forward_list<std::string>; // NOLINT(cppcoreguidelines-owning-memory)
    launchGlobals.launchJavaVersion = version ? kept.emplace_front(*version).c_str() : nullptr;
}

bool debugLogEnabled() {
    if (launchGlobals.logStatus == undecided) {
        const auto value = platform::ProcessInfo::processInfo().environmentVariable("KESTRAV_LOG");
        launchGlobals.logStatus = value == "yes" ? on : off;
    }
    return launchGlobals.logStatus == on;
}

} // namespace kestrav
