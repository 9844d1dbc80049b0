#include "platform/linux/Localization.h"
#include "platform/linux/StringTable.h"
#include "platform/support/utf16Bytes.h"

#include <gmock/gmock.h>

namespace kestrav::platform {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::UnorderedElementsAre;

using tests::utf16Bytes;

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

} // namespace
} // namespace kestrav::platform
