#include "platform/Bundle.h"
#include "platform/PropertyList.h"
#include "platform/SystemLog.h"
#include "platform/UserNotification.h"
#include "platform/macos/DownloadRules.h"
#include "support/TemporaryDirectory.h"

#include <gmock/gmock.h>

#include <unistd.h>

#include <thread>

// What the services of macOS do beyond the contract that Linux shares.

namespace kestrav::platform {
namespace {

TEST(MacPlatform, NoticesAndTheLogTakeTextsAsTheyAre) {
    const auto body = [] {
        std::thread([] { Log("%@ 100%% %s", "\xC3\xA4 %@", "%d"); }).join();
        displayNotice("Name", "100% \xC3\xA4\n\xF0\x9F\x98\x80");
        displayNotice("%d", ""); // is not shown, so it is logged
        _exit(0);
    };
    EXPECT_EXIT(body(), ::testing::ExitedWithCode(0),
                "^[0-9].* platform_tests\\[[0-9:]+\\] \xC3\xA4 %@ 100% %d\n"
                "notice: Name: 100% \xC3\xA4\n\xF0\x9F\x98\x80\n[0-9].* %d: \n$");
}

TEST(MacPlatform, ArchitecturesOfExecutables) {
    const tests::TemporaryDirectory directory;
    EXPECT_EQ(Bundle::create(directory.path())->executableArchitectures(), std::nullopt);
    const PropertyList::Array list = {0x01000007, "unknown", 0x0100000C}; // the double has them from there
    directory.write("Info.plist", PropertyList(PropertyList::Dictionary{{"Architectures", list}}).serialize());
    EXPECT_THAT(*Bundle::create(directory.path())->executableArchitectures(),
                ::testing::ElementsAre(0x01000007, std::nullopt, 0x0100000C));
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
