#include "platform/Exception.h"

#include <gmock/gmock.h>

namespace kestrav::platform {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

[[gnu::noinline]] Exception raisedAtDepth(int depth) {
    if (depth == 0) {
        return {"Name", "reason"};
    }
    Exception exception = raisedAtDepth(depth - 1);
    EXPECT_FALSE(exception.callStackSymbols().empty()); // keeps the call from being the last one
    return exception;
}

TEST(Exception, RecordsWhereItWasRaised) {
    const Exception outer = raisedAtDepth(0);
    ASSERT_GE(outer.callStackSymbols().size(), 3U);
    EXPECT_THAT(outer.callStackSymbols().front(),
                AllOf(StartsWith("0   "), HasSubstr("platform_tests"), HasSubstr("0x")));
    EXPECT_LE(raisedAtDepth(200).callStackSymbols().size(), 64U);

    const Exception copy = outer; // NOLINT(performance-unnecessary-copy-initialization): what is tested
    EXPECT_EQ(copy.callStackSymbols(), outer.callStackSymbols());
}

TEST(Exception, SaysItsReasonOrItsName) {
    EXPECT_STREQ(Exception("Name", "reason").what(), "reason");
    EXPECT_STREQ(Exception("Name", "").what(), "Name");
}

} // namespace
} // namespace kestrav::platform
