#include "platform/Bundle.h"
#include "platform/testing.h"
#include "support/TemporaryDirectory.h"

#include <gmock/gmock.h>

namespace kestrav::platform {
namespace {

using ::testing::HasSubstr;
using tests::TemporaryDirectory;
using Dictionary = PropertyList::Dictionary;

std::string information(const std::string &identifier) {
    return PropertyList(Dictionary{{"CFBundleIdentifier", identifier}, {"CFBundleExecutable", "program"}}).serialize();
}

TEST(Bundle, OpensDirectoriesOnly) {
    const TemporaryDirectory directory;
    EXPECT_EQ(Bundle::create(directory.write("file", "")), nullptr);
    EXPECT_EQ(Bundle::create(directory / "missing"), nullptr);
    EXPECT_EQ(Bundle::create(""), nullptr);
    EXPECT_EQ(Bundle::create(directory.path() + "//")->bundlePath(), directory.path());
    EXPECT_EQ(Bundle::create("/")->bundlePath(), "/");
}

TEST(Bundle, FindsItsInformationAndResources) {
    const struct {
        const char *file;
        const char *resources;
    } cases[] = {
        {"Info.plist", ""},
        {"Resources/Info.plist", "/Resources"},
        {"Contents/Info.plist", "/Resources"},
        {"Contents/Resources/x.icns", "/Contents/Resources"},
    };
    const TemporaryDirectory directory; // each case adds what counts more than what is there
    for (const auto &[file, resources] : cases) {
        directory.write(file, information(file));
        const auto bundle = Bundle::create(directory.path());
        EXPECT_EQ(bundle->resourcePath(), directory.path() + resources);
        if (std::string_view(file).ends_with("Info.plist")) {
            EXPECT_EQ(bundle->bundleIdentifier(), file);
        }
    }
    const auto bundle = Bundle::create(directory.path());
    EXPECT_EQ(bundle->pathForResource("x", "icns"), directory / "Contents/Resources/x.icns");
    EXPECT_EQ(bundle->pathForResource("x.icns", ""), directory / "Contents/Resources/x.icns");
    EXPECT_EQ(bundle->pathForResource("x", "png"), std::nullopt);
}

TEST(Bundle, ReplacesTheMainBundle) {
    const TemporaryDirectory directory;
    directory.write("App.app/Contents/Info.plist", information("one"));
    testing::setMainBundle(directory / "App.app/");
    const Bundle &first = Bundle::mainBundle();
    EXPECT_EQ(&first, &Bundle::mainBundle());
    directory.write("App.app/Contents/Info.plist", information("two"));
    testing::setMainBundle(directory / "App.app");
    EXPECT_EQ(Bundle::mainBundle().bundleIdentifier(), "two");
    EXPECT_EQ(first.bundleIdentifier(), "one");
    EXPECT_EQ(first.bundlePath(), directory / "App.app");
    testing::setMainBundle(std::nullopt);
    EXPECT_THAT(Bundle::mainBundle().bundlePath(), HasSubstr("/tests/platform"));
}

} // namespace
} // namespace kestrav::platform
