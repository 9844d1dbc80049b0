#include "platform/RuntimeSupport.h"

namespace kestrav::platform {

std::vector<std::string> standardRuntimeDirectories() {
    return {systemPath("/Library/Java/JavaVirtualMachines"), systemPath("/usr/lib/jvm")};
}

bool runtimeKnowsOption(std::string_view option) {
    return !option.starts_with("-Xdock:") && option != "-XstartOnFirstThread";
}

} // namespace kestrav::platform
