#include "platform/FileManager.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <cstdlib>

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
        ::setenv("TMPDIR", variable.c_str(), 1);
        EXPECT_EQ(temporaryDirectory(), expected) << variable;
    }
    ::unsetenv("TMPDIR");
}

} // namespace
} // namespace kestrav::platform
