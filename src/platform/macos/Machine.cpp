#include "platform/Machine.h"

namespace kestrav::platform {

bool isMacOS() {
    return true;
}

bool runsOnThisProcessor(const std::string & /*program*/) {
    return true; // what the system cannot run it translates
}

std::string_view processorFolder() {
    return "";
}

} // namespace kestrav::platform
