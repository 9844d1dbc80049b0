#include "platform/Bundle.h"
#include "platform/testing.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>

namespace kestrav::platform {
namespace {

using tests::TemporaryDirectory;

TEST(Bundle, OpensDirectoriesOnly) {
    const TemporaryDirectory directory;
    EXPECT_EQ(Bundle::create(directory.write("file", "")), nullptr);
    EXPECT_EQ(Bundle::create(directory / "missing"), nullptr);
    EXPECT_EQ(Bundle::create(directory.path() + "//")->bundlePath(), directory.path());
    EXPECT_EQ(Bundle::create("/")->bundlePath(), "/");
}

TEST(Bundle, FindsItsInformationAndResources) {
    const struct {
        const char *file, *resources;
    } cases[] = {
        {"Info.plist", ""},
        {"Resources/Info.plist", "/Resources"},
        {"Contents/Info.plist", "/Resources"},
        {"Contents/Resources/x.icns", "/Contents/Resources"},
    };
    const TemporaryDirectory directory; // each case adds what counts more than what is there
    for (const auto &[file, resources] : cases) {
        directory.write(file, PropertyList(PropertyList::Dictionary{{"CFBundleIdentifier", file}}).serialize());
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

TEST(Bundle, TextsOfKeysThatAreMissing) {
    const TemporaryDirectory directory;
    directory.write("Contents/Resources/en.lproj/Localizable.strings", R"("" = "nothing"; empty = "";)");
    testing::setEnvironment({{"LANG", "en"}}); // as every user has it on GNUstep
    const auto bundle = Bundle::create(directory.path());
    EXPECT_EQ(bundle->localizedStringForKey("missing", ""), "missing");
    EXPECT_EQ(bundle->localizedStringForKey("missing", "value"), "value");
    EXPECT_EQ(bundle->localizedStringForKey("empty", "value"), "");
}

} // namespace
} // namespace kestrav::platform
