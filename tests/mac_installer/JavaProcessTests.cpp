#include "mac_installer/bootstrap/JavaProcess.h"

#include "platform/Clock.h"

#include <gtest/gtest.h>

#include <csignal>

namespace kestrav::tests {
namespace {

TEST(JavaProcess, GetsWhatTheTerminalSentBeforeItWasThere) {
    JavaProcess process("/bin/sleep", {"60"});
    const auto before = platform::monotonicNanoseconds();
    process.start();
    process.passOn({SIGINT, true, platform::monotonicNanoseconds()}); // the terminal has sent it to the child as well
    process.passOn({SIGTERM, true, before});
    EXPECT_EQ(process.waitForExit(), 128 + SIGTERM);
}

} // namespace
} // namespace kestrav::tests
