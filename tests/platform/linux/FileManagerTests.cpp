#include "platform/FileManager.h"
#include "platform/testing.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>

namespace kestrav::platform {
namespace {

using tests::TemporaryDirectory;

TEST(FileManager, TakesTheTemporaryDirectoryOfTheEnvironment) {
    const TemporaryDirectory directory;
    const std::string missing = directory / "missing";
    const struct {
        std::string variable;
        std::optional<std::string> expected;
    } cases[] = {{directory.path() + "//", directory.path()}, {"relative", "/tmp"}, {"", "/tmp"}, {missing, {}}};
    for (const auto &[variable, expected] : cases) {
        testing::setEnvironment({{"TMPDIR", variable}});
        EXPECT_EQ(temporaryDirectory(), expected) << variable;
    }
    testing::setEnvironment({});
    EXPECT_EQ(temporaryDirectory(), "/tmp");
}

} // namespace
} // namespace kestrav::platform
