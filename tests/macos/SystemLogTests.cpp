#include "platform/SystemLog.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <thread>

namespace kestrav::platform {
namespace {

TEST(SystemLog, WritesTheTextAsItIs) {
    const auto body = [] {
        std::thread([] { Log("%@ 100%% %s", "\xC3\xA4 %@", "%d"); }).join();
        _exit(0);
    };
    EXPECT_EXIT(body(), ::testing::ExitedWithCode(0), "^[0-9].* platform_tests\\[[0-9:]+\\] \xC3\xA4 %@ 100% %d\n$");
}

} // namespace
} // namespace kestrav::platform
