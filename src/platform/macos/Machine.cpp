#include "platform/Machine.h"

#include <dlfcn.h>

namespace kestrav::platform {

bool isMacOS() {
    return true;
}

bool runsOnThisProcessor(const std::string & /*program*/) {
    return true; // the system translates programs for other processors
}

bool loadsIntoThisProcess(const std::string &library) {
    return dlopen_preflight(library.c_str());
}

std::string_view processorFolder() {
    return "";
}

} // namespace kestrav::platform
