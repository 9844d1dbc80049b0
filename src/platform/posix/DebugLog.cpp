#include "platform/DebugLog.h"

#include "platform/ProcessInfo.h"
#include "platform/testing.h"

#include <atomic>

namespace kestrav::platform {

namespace {

std::atomic<bool> silent = false;

} // namespace

bool debugLogEnabled() {
    if (const auto replacement = testing::replacements().debugLog) {
        return *replacement;
    }
    static const bool enabled = ProcessInfo::processInfo().environmentVariable("KESTRAV_LOG") == "yes";
    return enabled;
}

void silenceLog() {
    silent = true;
}

bool logIsSilent() {
    return silent && !debugLogEnabled();
}

} // namespace kestrav::platform
