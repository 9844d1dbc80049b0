#include "platform/RuntimeSupport.h"

namespace kestrav::platform {

std::vector<std::string> standardRuntimeDirectories() {
    return {systemPath("/Library/Java/JavaVirtualMachines")};
}

bool runtimeKnowsOption(std::string_view /*option*/) {
    return true;
}

} // namespace kestrav::platform
