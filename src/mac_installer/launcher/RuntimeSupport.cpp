#include "mac_installer/launcher/RuntimeSupport.h"

#include "platform/FileManager.h"
#include "platform/Machine.h"

#include <algorithm>
#include <array>

namespace kestrav {

std::vector<RuntimeDirectory> standardRuntimeDirectories() {
    std::vector<RuntimeDirectory> directories = {{platform::systemPath("/Library/Java/JavaVirtualMachines"), true}};
    if (!platform::isMacOS()) {
        directories.push_back({platform::systemPath("/usr/lib/jvm"), false});
    }
    return directories;
}

bool runtimeKnowsOption(std::string_view option) {
    return platform::isMacOS() || (!option.starts_with("-Xdock:") && option != "-XstartOnFirstThread");
}

bool concernsRecordings(std::string_view option) {
    constexpr std::array beginnings{
        "-Xshare:", "-XX:AOT", "-XX:SharedArchiveFile=", "-XX:ArchiveClassesAtExit=", "-XX:+AutoCreateSharedArchive"};
    return std::any_of(beginnings.begin(), beginnings.end(),
                       [&](const char *beginning) { return option.starts_with(beginning); });
}

} // namespace kestrav
