#include "mac_installer/launcher/RuntimeSupport.h"

#include "platform/FileManager.h"
#include "platform/Machine.h"

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

} // namespace kestrav
