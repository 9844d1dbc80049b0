#include "platform/DebugLog.h"

#include "platform/ProcessInfo.h"
#include "platform/testing.h"

#include <atomic>

namespace kestrav::platform {

namespace {

enum class Gate { undecided, open, closed };

std::atomic<Gate> gate = Gate::undecided; // decided alike by whichever threads come first

} // namespace

bool debugLogEnabled() {
    if (gate == Gate::undecided) {
        gate = ProcessInfo::processInfo().environmentVariable("KESTRAV_LOG") == "yes" ? Gate::open : Gate::closed;
    }
    return gate == Gate::open;
}

void testing::setDebugLog(std::optional<bool> on) {
    gate = !on ? Gate::undecided : *on ? Gate::open : Gate::closed;
}

} // namespace kestrav::platform
