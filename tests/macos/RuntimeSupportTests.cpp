#include "platform/RuntimeSupport.h"

#include "CoreFoundationDouble.h"
#include "platform/Reexecution.h"
#include "platform/SystemControl.h"
#include "platform/testing.h"

#include <gmock/gmock.h>

namespace kestrav::platform {
namespace {

TEST(RuntimeSupport, KnowsTheSystem) {
    testing::setSystemRoot("/elsewhere");
    ASSERT_EQ(standardRuntimeDirectories().size(), 1U);
    EXPECT_EQ(standardRuntimeDirectories().front().path, "/elsewhere/Library/Java/JavaVirtualMachines");
    EXPECT_TRUE(standardRuntimeDirectories().front().namedByVersion);
    testing::setSystemRoot("");
    EXPECT_TRUE(runtimeKnowsOption("-Xdock:name=x"));
    EXPECT_TRUE(runtimeKnowsOption("-XstartOnFirstThread"));
    prepareReexecution("17", "/x/libjli.dylib");
    EXPECT_FALSE(takeReexecution());
}

TEST(SystemControl, ReadsIntegersOf32Bits) {
    using Bytes = std::vector<std::uint8_t>;
    std::vector<std::string> asked;
    std::optional<Bytes> answer;
    tests::setSysctl([&](const std::string &name) {
        asked.push_back(name);
        return answer;
    });
    EXPECT_EQ(systemControlInteger("sysctl.proc_translated"), std::nullopt);
    EXPECT_THAT(asked, ::testing::ElementsAre("sysctl.proc_translated"));
    answer = Bytes{1, 0, 0, 0};
    EXPECT_EQ(systemControlInteger("x"), 1);
    for (const Bytes &other : {Bytes{1, 0}, Bytes{1, 0, 0, 0, 0, 0, 0, 0}}) {
        answer = other;
        EXPECT_EQ(systemControlInteger("x"), std::nullopt);
    }
    tests::setSysctl(nullptr);
    testing::setSystemControl([](const std::string &name) { return static_cast<std::int32_t>(name.size()); });
    EXPECT_EQ(systemControlInteger("four"), 4);
    testing::setSystemControl(nullptr);
}

} // namespace
} // namespace kestrav::platform
