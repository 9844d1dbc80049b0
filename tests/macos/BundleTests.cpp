#include "platform/Bundle.h"

#include "CoreFoundationDouble.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>

namespace kestrav::platform {
namespace {

TEST(Bundle, PassesOnArchitectures) {
    using Architectures = std::optional<std::vector<std::optional<std::int32_t>>>;
    const tests::TemporaryDirectory directory;
    const auto bundle = Bundle::create(directory.path());
    constexpr std::int32_t x86 = 0x01000007;
    constexpr std::int32_t arm = 0x0100000C;
    for (const Architectures &architectures :
         {Architectures(), Architectures({std::vector<std::optional<std::int32_t>>{}}), Architectures({{x86}}),
          Architectures({{x86, arm}}), Architectures({{std::nullopt, x86}})}) {
        tests::setArchitectures(architectures);
        EXPECT_EQ(bundle->executableArchitectures(), architectures);
    }
}

} // namespace
} // namespace kestrav::platform
