#include "platform/UserNotification.h"

#include "CoreFoundationDouble.h"
#include "platform/testing.h"

#include <gmock/gmock.h>

namespace kestrav::platform {
namespace {

TEST(Notice, AsksForTheStopLevelWithoutWaiting) {
    std::vector<tests::DisplayedNotice> notices;
    std::vector<std::string> lines;
    std::int32_t answer = 0;
    tests::setDisplayNotice([&](const tests::DisplayedNotice &notice) {
        notices.push_back(notice);
        return answer;
    });
    testing::setLogSink([&](std::string_view line) { lines.emplace_back(line); });
    displayNotice("Name", "100% \xC3\xA4\n\xF0\x9F\x98\x80");
    displayNotice("", "");
    EXPECT_TRUE(lines.empty());
    answer = -1;
    displayNotice("Name", "not shown");
    testing::setLogSink(nullptr);
    tests::setDisplayNotice(nullptr);

    const tests::DisplayedNotice expected{0, 0, false, "Name", "100% \xC3\xA4\n\xF0\x9F\x98\x80", std::nullopt};
    ASSERT_EQ(notices.size(), 3U);
    EXPECT_EQ(notices[0], expected);
    EXPECT_EQ(notices[1].header, "");
    EXPECT_EQ(notices[1].message, "");
    EXPECT_THAT(lines, ::testing::ElementsAre("Name: not shown"));
}

} // namespace
} // namespace kestrav::platform
