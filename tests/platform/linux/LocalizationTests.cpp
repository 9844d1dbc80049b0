#include "platform/linux/Localization.h"
#include "platform/linux/StringTable.h"
#include "platform/support/PropertyListBytes.h"
#include "platform/testing.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace kestrav::platform {
namespace {

using tests::utf16Bytes;

TEST(StringTable, ReadsClassicTables) {
    const struct {
        std::string text;
        StringTable expected;
    } cases[] = {
        {"", {}},
        {"\xEF\xBB\xBF\"k\" = \"ä\";", {{"k", "ä"}}},
        {"/*/ a */ // b\n key.1=value-2 ;'q' /* in */ = /**/ \"x\";\"self\";",
         {{"key.1", "value-2"}, {"q", "x"}, {"self", "self"}}},
        {R"("a" = "\n\t\"\\\101\7\U00e9\u00FC\Ud83d\Ude00\q";)", {{"a", "\n\t\"\\A\aéü😀q"}}},
        {"\"a\" = \"two\nlines // no comment\";", {{"a", "two\nlines // no comment"}}},
        {"a = 1; a = 2;", {{"a", "2"}}},
        // What comes before the damage counts.
        {R"(a = b; "c" = "d)", {{"a", "b"}}},
        {"a = b; c = ;", {{"a", "b"}}},
        {"a = b; /* no end", {{"a", "b"}}},
    };
    for (const auto &[text, expected] : cases) {
        EXPECT_EQ(parseStringTable(text), expected) << text;
    }
}

TEST(StringTable, ReadsOtherForms) {
    const StringTable expected = {{"k", "v"}};
    const std::string xml =
        "\n<plist><dict><key>k</key><string>v</string><key>n</key><integer>1</integer></dict></plist>";
    EXPECT_EQ(parseStringTable(xml), expected);
    EXPECT_EQ(parseStringTable(utf16Bytes(xml, true, "\xFE\xFF")), expected);
    EXPECT_EQ(parseStringTable(utf16Bytes("k = v;", false, "\xFF\xFE")), expected);
    EXPECT_EQ(parseStringTable(utf16Bytes("k = v;", true, "")), expected);
    EXPECT_EQ(parseStringTable(utf16Bytes("k = v;", false, "") + "x"), expected);
    EXPECT_EQ(parseStringTable("<plist><dict>"), StringTable());
    EXPECT_EQ(parseStringTable("bplist00"), StringTable());
}

TEST(Localization, OrdersLanguages) {
    const struct {
        ProcessInfo::Environment environment;
        std::vector<std::string> languages;
    } cases[] = {
        {{}, {}},
        {{{"LANG", "de_DE.UTF-8@euro"}}, {"de_DE", "de-DE", "de"}},
        {{{"LANGUAGE", "fr::it"}, {"LANG", "de"}}, {"fr", "it", "de"}},
        {{{"LC_ALL", ""}, {"LC_MESSAGES", "fr"}, {"LANG", "de"}}, {"fr"}},
        {{{"LC_ALL", "C.UTF-8"}, {"LANG", "de"}}, {}},
        {{{"LANGUAGE", "fr"}, {"LC_ALL", "POSIX"}}, {}},
        {{{"LANG", "zh_CN"}}, {"zh_CN", "zh-CN", "zh-Hans", "zh"}},
        {{{"LANG", "zh_SG"}}, {"zh_SG", "zh-SG", "zh-Hans", "zh"}},
        {{{"LANG", "zh_TW"}}, {"zh_TW", "zh-TW", "zh-Hant", "zh"}},
        {{{"LANG", "zh_HK.UTF-8"}}, {"zh_HK", "zh-HK", "zh-Hant", "zh"}},
        {{{"LANG", "zh_MO"}}, {"zh_MO", "zh-MO", "zh-Hant", "zh"}},
        {{{"LANG", "../../x"}}, {}},
    };
    for (const auto &[environment, languages] : cases) {
        std::vector<std::string> names = preferredLanguages(environment);
        names.erase(std::unique(names.begin(), names.end()), names.end());
        EXPECT_EQ(names, languages);
    }
}

TEST(Localization, FindsATableIfThereIsAny) {
    const struct {
        const char *language;
        std::optional<std::string> region;
        std::vector<std::string> folders;
        std::optional<std::string> found;
    } cases[] = {
        {"de_AT.UTF-8", "en", {"de", "en"}, "de"},
        {"de_AT.UTF-8", "en", {"German", "en"}, "German"},
        {"de", std::nullopt, {"Czech", "English"}, "English"},
        {"de", "French", {"fr", "it"}, "fr"},
        {"de", std::nullopt, {"nl", "fr"}, "fr"},
        {"de", "sv", {"en", "sv"}, "sv"},
        {"de", "sv", {"cs", "en"}, "en"},
        {"fr:de", "sv", {"de", "sv"}, "de"},
        {"de", "tlh", {"de", ""}, ""},
        {"de", "tlh", {}, std::nullopt},
    };
    const auto table = [](const std::string &folder) { return folder.empty() ? "t" : folder + ".lproj/t"; };
    for (const auto &[language, region, folders, found] : cases) {
        const tests::TemporaryDirectory directory;
        for (const std::string &folder : folders) {
            directory.write(table(folder), "");
        }
        directory.makeDirectory("a.lproj"); // one without a table
        testing::setEnvironment({{"LANGUAGE", language}, {"LANG", "de"}});
        EXPECT_EQ(localizedResource(directory.path(), "t", region),
                  found ? std::optional(directory / table(*found)) : std::nullopt);
    }
}

} // namespace
} // namespace kestrav::platform
