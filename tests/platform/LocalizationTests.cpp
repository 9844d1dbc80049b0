#include "platform/Bundle.h"
#include "platform/linux/Localization.h"
#include "platform/linux/StringTable.h"
#include "platform/testing.h"
#include "support/TemporaryDirectory.h"

#include <gmock/gmock.h>

namespace kestrav::platform {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::UnorderedElementsAre;

std::string utf16Bytes(const std::string &ascii, bool bigEndian, const std::string &mark) {
    std::string bytes = mark;
    for (const char c : ascii) {
        bytes += bigEndian ? '\0' : c;
        bytes += bigEndian ? c : '\0';
    }
    return bytes;
}

TEST(StringTable, ReadsClassicTables) {
    const struct {
        std::string text;
        StringTable expected;
    } cases[] = {
        {"", {}},
        {"\xEF\xBB\xBF\"k\" = \"ä\";", {{"k", "ä"}}},
        {"/* a */ // b\n key.1=value-2 ;'q' /* in */ = /**/ \"x\";\"self\";",
         {{"key.1", "value-2"}, {"q", "x"}, {"self", "self"}}},
        {R"("a" = "\n\t\"\\\101\7\U00e9\u00FC\Ud83d\Ude00\q";)", {{"a", "\n\t\"\\A\aéü😀q"}}},
        {"\"a\" = \"two\nlines // no comment\";", {{"a", "two\nlines // no comment"}}},
        {"a = 1; a = 2;", {{"a", "2"}}},
        // Damage: what stands before it counts.
        {"a = b; \"c\" = \"d", {{"a", "b"}}},
        {"a = b; c = ;", {{"a", "b"}}},
        {"a = b c = d;", {{"a", "b"}}},
        {"a = b; /* no end", {{"a", "b"}}},
        {"a = b; \"c\\", {{"a", "b"}}},
        {"= x;", {}},
    };
    for (const auto &[text, expected] : cases) {
        EXPECT_EQ(parseStringTable(text), expected) << text;
    }
}

TEST(StringTable, ReadsOtherForms) {
    const StringTable expected = {{"k", "v"}};
    const std::string classic = "\"k\" = \"v\";";
    const std::string xml =
        "\n<plist><dict><key>k</key><string>v</string><key>n</key><integer>1</integer></dict></plist>";
    for (const std::string &text : {classic, xml}) {
        EXPECT_EQ(parseStringTable(utf16Bytes(text, true, "\xFE\xFF")), expected);
        EXPECT_EQ(parseStringTable(utf16Bytes(text, false, "\xFF\xFE")), expected);
        EXPECT_EQ(parseStringTable(utf16Bytes(text, true, "")), expected);
        EXPECT_EQ(parseStringTable(utf16Bytes(text, false, "") + "x"), expected);
        EXPECT_EQ(parseStringTable(text), expected);
    }
    EXPECT_THAT(parseStringTable("<plist><dict>"), IsEmpty());
    EXPECT_THAT(parseStringTable("bplist00"), IsEmpty());
}

TEST(Localization, OrdersLanguages) {
    const auto first = [](const ProcessInfo::Environment &environment) {
        std::vector<std::string> names;
        for (const std::string &name : preferredLanguages(environment)) {
            if (names.empty() || names.back() != name) {
                names.push_back(name);
            }
        }
        return names;
    };
    EXPECT_THAT(first({}), IsEmpty());
    EXPECT_THAT(first({{"LANG", "de_DE.UTF-8@euro"}}), ElementsAre("de_DE", "de-DE", "de"));
    EXPECT_THAT(first({{"LANGUAGE", "fr::it"}, {"LANG", "de"}}), ElementsAre("fr", "it", "de"));
    EXPECT_THAT(first({{"LC_ALL", ""}, {"LC_MESSAGES", "fr"}, {"LANG", "de"}}), ElementsAre("fr"));
    EXPECT_THAT(first({{"LC_ALL", "C.UTF-8"}, {"LANG", "de"}}), IsEmpty());
    EXPECT_THAT(first({{"LANGUAGE", "fr"}, {"LC_ALL", "POSIX"}}), IsEmpty());
    EXPECT_THAT(first({{"LANG", "zh_CN"}}), ElementsAre("zh_CN", "zh-CN", "zh-Hans", "zh"));
    EXPECT_THAT(first({{"LANG", "zh_HK.UTF-8"}}), ElementsAre("zh_HK", "zh-HK", "zh-Hant", "zh"));
    EXPECT_THAT(first({{"LANG", "../../x"}}), IsEmpty());
}

class LocalizedBundleTest : public ::testing::Test {
protected:
    void TearDown() override { testing::setEnvironment({}); }

    std::string text(const ProcessInfo::Environment &environment, const std::string &key = "k") const {
        testing::setEnvironment(environment);
        return Bundle::create(directory_.path())->localizedStringForKey(key, "");
    }

    tests::TemporaryDirectory directory_;
};

TEST_F(LocalizedBundleTest, TakesTheTableOfTheBestLanguage) {
    const std::string resources = "Contents/Resources/";
    directory_.write(resources + "Localizable.strings", "k = plain;");
    EXPECT_EQ(text({{"LANG", "de_DE"}}), "plain");
    directory_.write(resources + "en.lproj/Localizable.strings", "k = english; only = english;");
    directory_.write("Contents/Info.plist", PropertyList(PropertyList::Dictionary{
                                                             {"CFBundleDevelopmentRegion", "sv"},
                                                         })
                                                .serialize());
    EXPECT_EQ(text({{"LANG", "de_DE"}}), "english");
    directory_.write(resources + "sv.lproj/Localizable.strings", "k = swedish;");
    EXPECT_EQ(text({{"LANG", "de_DE"}}), "swedish");
    directory_.write(resources + "de.lproj/Localizable.strings", "k = german;");
    directory_.makeDirectory(resources + "de_DE.lproj");
    EXPECT_EQ(text({{"LANG", "de_DE.UTF-8"}}), "german");
    EXPECT_EQ(text({{"LANG", "de_DE.UTF-8"}}, "only"), "only") << "one table, not a mixture";

    EXPECT_EQ(Bundle::create(directory_.path())->localizedStringForKey("missing", "default"), "default");
}

} // namespace
} // namespace kestrav::platform
