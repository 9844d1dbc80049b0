#include "platform/support/DownloadSupport.h"

#include "platform/OperationQueue.h"
#include "platform/Signals.h"
#include "platform/testing.h"

#include <cstdlib>

namespace kestrav::tests {

void prepareDownloads() {
    platform::Signals::ignoreWriteSignals();
    for (const char *variable : {"http_proxy", "https_proxy", "HTTPS_PROXY", "all_proxy", "ALL_PROXY"}) {
        unsetenv(variable);
    }
    platform::testing::setMainBundle(KESTRAV_TEST_BUNDLE);
}

void runMainLoop() {
    platform::OperationQueue::mainQueue().waitAndRun();
}

} // namespace kestrav::tests
