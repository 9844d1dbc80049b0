#include "platform/RuntimeSupport.h"

#include "platform/FileManager.h"

namespace kestrav::platform {

std::vector<RuntimeDirectory> standardRuntimeDirectories() {
    return {{systemPath("/Library/Java/JavaVirtualMachines"), true}};
}

bool runtimeKnowsOption(std::string_view /*option*/) {
    return true;
}

bool runsOnThisProcessor(const std::string & /*program*/) {
    return true; // what the system cannot run it translates
}

std::string_view processorFolder() {
    return "";
}

} // namespace kestrav::platform
