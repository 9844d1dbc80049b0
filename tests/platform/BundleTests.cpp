#include "platform/Bundle.h"
#include "platform/support/UserSettings.h"
#include "platform/support/utf16Bytes.h"
#include "platform/testing.h"
#include "support/TemporaryDirectory.h"

#include <gmock/gmock.h>

namespace kestrav::platform {
namespace {

using ::testing::HasSubstr;
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

TEST(Bundle, MainBundleIsTheProcesssOwn) {
    testing::setMainBundle(std::nullopt);
    EXPECT_THAT(Bundle::mainBundle().bundlePath(), HasSubstr("/tests/platform"));
}

class LocalizedBundleTest : public ::testing::Test {
protected:
    [[nodiscard]] std::string text(const std::vector<std::string> &languages, const std::string &key = "k",
                                   const std::string &value = "") const {
        tests::setPreferredLanguages(languages);
        return Bundle::create(directory_.path())->localizedStringForKey(key, value);
    }

    void write(const std::string &folder, const std::string &table) const {
        directory_.write("Contents/Resources/" + folder + "Localizable.strings", table);
    }

    tests::TemporaryDirectory directory_;
};

TEST_F(LocalizedBundleTest, TakesTheTableOfTheBestLanguage) {
    EXPECT_EQ(text({"de"}), "k") << "no table at all";
    write("", "k = plain;");
    EXPECT_EQ(text({"de"}), "plain");
    write("en.lproj/", "k = english; only = english;");
    directory_.write("Contents/Info.plist",
                     PropertyList(PropertyList::Dictionary{{"CFBundleDevelopmentRegion", "sv"}}).serialize());
    EXPECT_EQ(text({"de"}), "english");
    write("sv.lproj/", "k = swedish;");
    EXPECT_EQ(text({"de"}), "swedish");
    write("de.lproj/", "k = german;");
    EXPECT_EQ(text({"fr", "de"}), "german");
    EXPECT_EQ(text({"de"}, "only"), "only") << "one table, not a mixture";
}

TEST_F(LocalizedBundleTest, KeysThatAreMissing) {
    write("en.lproj/", R"("" = "nothing"; empty = "";)");
    EXPECT_EQ(text({"en"}, "missing"), "missing");
    EXPECT_EQ(text({"en"}, "missing", "value"), "value");
    EXPECT_EQ(text({"en"}, "empty", "value"), "");
}

TEST_F(LocalizedBundleTest, FormsOfTables) {
    const std::string table = "/* a comment */\n\"k\" = \"100 %@, \\\"quoted\\\"\";\n";
    for (const std::string &content :
         {table, tests::utf16Bytes(table, true, "\xFE\xFF"), tests::utf16Bytes(table, false, "\xFF\xFE")}) {
        write("en.lproj/", content);
        EXPECT_EQ(text({"en"}), "100 %@, \"quoted\"");
    }
    write("en.lproj/", "k = \"\xC3\xA4 \xF0\x9F\x98\x80 \\U00e9\";");
    EXPECT_EQ(text({"en"}), "\xC3\xA4 \xF0\x9F\x98\x80 \xC3\xA9");
}

} // namespace
} // namespace kestrav::platform
