#include "platform/Environment.h"

#include <cstdlib>

namespace kestrav::platform {

void exportEnvironmentVariable(const std::string &name, const std::string &value) {
    // It fails for want of memory or for a name that is none: the runtime then goes without the variable.
    static_cast<void>(setenv(name.c_str(), value.c_str(), 0));
}

} // namespace kestrav::platform
