#include "platform/Exception.h"

#include <gmock/gmock.h>

namespace kestrav::platform {
namespace {

TEST(Exception, SaysWhatWasRaisedAndWhere) {
    const Exception exception("Name", "reason");
    EXPECT_STREQ(exception.what(), "reason");
    EXPECT_STREQ(Exception("Name", "").what(), "Name");
    ASSERT_GE(exception.callStackSymbols().size(), 3U);
    EXPECT_THAT(exception.callStackSymbols().front(), ::testing::MatchesRegex("0   .*platform_tests.*0x.*"));
}

} // namespace
} // namespace kestrav::platform
