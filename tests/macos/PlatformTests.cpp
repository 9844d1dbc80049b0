#include "platform/Machine.h"
#include "platform/SystemLog.h"
#include "platform/UserNotification.h"
#include "platform/macos/CFValue.h"
#include "platform/macos/QuitReason.h"
#include "platform/macos/RequestRules.h"
#include "platform/testing.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <thread>

// What the services of macOS do beyond the contract that Linux shares.

namespace kestrav::platform {
namespace {

TEST(MacPlatform, NoticesAndTheLogTakeTextsAsTheyAre) {
    const auto body = [] {
        std::thread([] { Log("%@ 100%% %s", "\xC3\xA4 %@", "%d"); }).join();
        displayNotice("Name", "100% \xC3\xA4\n\xF0\x9F\x98\x80");
        testing::setEnvironment({{"KESTRAV_NOTICE", "stderr"}});
        displayNotice("%d", "");
        _exit(0);
    };
    EXPECT_EXIT(body(), ::testing::ExitedWithCode(0),
                "^[0-9].* platform_tests\\[[0-9:]+\\] \xC3\xA4 %@ 100% %d\n"
                "notice: Name: 100% \xC3\xA4\n\xF0\x9F\x98\x80\n[0-9].* %d: \n$");
}

TEST(MacPlatform, ValuesThatShareObjectsAreNotCopiedWithoutEnd) {
    CFHandle<CFTypeRef> list = cfValue(std::string(1'000'000, 'x'));
    for (int doublings = 0; doublings < 40; ++doublings) {
        CFHandle pair(CFArrayCreateMutable(kCFAllocatorDefault, 0, &kCFTypeArrayCallBacks));
        CFArrayAppendValue(pair.get(), list.get());
        CFArrayAppendValue(pair.get(), list.get());
        list = CFHandle<CFTypeRef>(pair.release());
    }
    EXPECT_EQ(propertyListOf(list.get()), std::nullopt);
}

TEST(MacPlatform, ProgramsOfOtherProcessorsDoNotRunUnlessTheyAreTranslated) {
    const tests::TemporaryDirectory directory;
    const auto runs = [&](const std::string &content, std::int32_t translated) {
        testing::replacements().systemControl = [translated](const std::string & /*name*/) { return translated; };
        return runsOnThisProcessor(directory.write("java", content));
    };
    std::string own("\xCF\xFA\xED\xFE\x07\0\0\x01", 8);
    std::string other("\xCF\xFA\xED\xFE\x0C\0\0\x01", 8);
#if defined(__aarch64__)
    std::swap(own, other);
#endif
    EXPECT_TRUE(runs(own, 0) && runs("#!/bin/sh\n", 0));
    EXPECT_TRUE(runs(other, 1)); // this process is a translated one: the machine's own programs run as well
    testing::replacements().systemRoot = directory.path();
    EXPECT_FALSE(runs(other, 0));
    testing::replacements().systemRoot.clear();
    testing::replacements().systemControl = nullptr;
}

TEST(MacPlatform, OnlyTheEndOfASessionQuitsEveryApplication) {
    for (const std::uint32_t reason : {0x6C6F676FU, 0x726C676FU, 0x72727374U, 0x72657374U, 0x7273646EU, 0x73687574U}) {
        EXPECT_TRUE(asksEveryApplication(reason)) << reason;
    }
    EXPECT_FALSE(asksEveryApplication(0) || asksEveryApplication(0x6F67716C));
}

TEST(MacPlatform, DownloadsAreRedirectedToServersAndKeepTheEncryption) {
    for (const auto &[from, to] : {std::pair{"http", "http"}, {"http", "https"}, {"http", "ftp"}, {"https", "https"}}) {
        EXPECT_TRUE(redirectIsAllowed(from, to)) << from << " to " << to;
    }
    for (const auto &[from, to] : {std::pair{"https", "http"}, {"https", "ftp"}, {"http", "file"}, {"http", ""}}) {
        EXPECT_FALSE(redirectIsAllowed(from, to)) << from << " to " << to;
    }
    EXPECT_EQ(percentEncoded("http://h/a b/\xC3\xA9%20?c#d\r\n"), "http://h/a%20b/%C3%A9%20?c#d%0D%0A");
}

} // namespace
} // namespace kestrav::platform
