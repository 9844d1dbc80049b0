#include "platform/DebugLog.h"

#include "platform/ProcessInfo.h"
#include "platform/testing.h"

namespace kestrav::platform {

bool debugLogEnabled() {
    if (const auto replacement = testing::replacements().debugLog) {
        return *replacement;
    }
    static const bool enabled = ProcessInfo::processInfo().environmentVariable("KESTRAV_LOG") == "yes";
    return enabled;
}

} // namespace kestrav::platform
