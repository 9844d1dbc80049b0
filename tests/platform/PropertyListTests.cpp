#include "platform/PropertyList.h"
#include "platform/support/PropertyListBytes.h"

#include <gtest/gtest.h>

namespace kestrav::platform {
namespace {

using Array = PropertyList::Array;
using Dictionary = PropertyList::Dictionary;
using tests::binary;
using tests::reference;
using tests::repeated;
using tests::text;
using tests::xml;

TEST(PropertyList, ReadsXML) {
    const struct {
        const char *value;
        PropertyList expected;
    } cases[] = {
        {"<dict/>", Dictionary{}},
        {"<string> a &lt;&#228;&gt; </string>", " a <ä> "},
        {"<integer>-5</integer>", -5},
        {"<integer>18446744073709551615</integer>", INT64_MAX},
        {"<real>2.5</real>", 2.5},
        {"<array><true/><false/></array>", Array{true, false}},
        {"<data>\n AQID\n</data>", PropertyList::Data{{1, 2, 3}}},
        {"<date>2001-01-02T00:00:00Z</date>", PropertyList::Date{86400}},
        {"<!-- <key>x</key> --><dict><key>k</key><dict><key>n</key><string/></dict></dict>",
         Dictionary{{"k", Dictionary{{"n", ""}}}}},
    };
    for (const auto &[value, expected] : cases) {
        EXPECT_EQ(PropertyList::parse(xml(value)), expected) << value;
        EXPECT_EQ(PropertyList::damage(xml(value)), "") << value;
    }
}

TEST(PropertyList, TellsTheLineOfADamage) {
    const std::pair<const char *, const char *> cases[] = {
        {"", "line 1"},
        {"hello", "line 1"},
        {"<plist>\n<dict>\n<key>a</key>\n<string>b</dict>\n</plist>", "line 4"},
        {"<plist>\n<dict>\n<key>a</key>\n<string>a & b</string></dict>\n</plist>", "line 4"},
        {"<plist>\n<dict>\n<key>a</key><key>b</key><true/></dict>\n</plist>", "line 3"},
        {"<plist>\n<dict>\n<string>a</string></dict>\n</plist>", "line 3"},
        {"<plist>\n<dict>\n<key>a</key><text>a</text></dict>\n</plist>", "line 3"},
        {"<plist>\n<!-- a -- <dict>\n</dict>\n</plist>", "line 2"},
        {"<plist>\n<dict>\n</dict>\n", "line 4"},
        {"<plist>\n<dict>\n<key>a</key><string>\xE4</string></dict>\n</plist>", "line 3"},
        {"bplist00", ""},
    };
    for (const auto &[bytes, line] : cases) {
        EXPECT_EQ(PropertyList::parse(bytes), std::nullopt) << bytes;
        EXPECT_EQ(PropertyList::damage(bytes), line) << bytes;
    }
}

TEST(PropertyList, ReadsBinary) {
    EXPECT_EQ(PropertyList::parse(binary({reference("\xD2", {1, 2, 3, 4}), text("a"), text("b"), text("x"), "\x09"})),
              Dictionary({{"a", "x"}, {"b", true}}));
    EXPECT_EQ(PropertyList::parse(binary({std::string("\x62\x00\xE4\x20\xAC", 5)})), "ä€");
    EXPECT_EQ(PropertyList::parse(binary({std::string("\x13\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFE", 9)})), -2);
    EXPECT_EQ(PropertyList::parse(binary({"\x11\xFF\xFF"})), 65535);
    EXPECT_EQ(PropertyList::parse(binary({"\x5F\x10\x11seventeen letters"})), "seventeen letters");
}

TEST(PropertyList, WritesWhatItReads) {
    const PropertyList list(Dictionary{{"text", "<&>\" ä"},
                                       {"numbers", Array{0, -1, INT64_MIN, 0.1, 1e300}},
                                       {"flags", Array{true, false}},
                                       {"data", PropertyList::Data{std::vector<std::uint8_t>(100, 7)}},
                                       {"dates", Array{PropertyList::Date{-86400}, PropertyList::Date{700000000}}},
                                       {"", Dictionary{{"empty", Array{}}}}});
    EXPECT_EQ(PropertyList::parse(list.serialize()), list);
    EXPECT_EQ(PropertyList::parse(PropertyList("\xFF").serialize()), "\uFFFD");
}

// The library used on Linux trusts its input, so damaged bytes must be refused before it sees them.

TEST(LinuxPropertyList, ReadsMarkedSectionsEncodingsAndRareCharacters) {
    EXPECT_EQ(PropertyList::parse(xml("<string>a<![CDATA[<b>]]></string>")), "a<b>");
    EXPECT_EQ(PropertyList::parse("\xEF\xBB\xBF" + xml("<string>ä</string>")), "ä");
    EXPECT_EQ(PropertyList::parse(tests::utf16Bytes(xml("<string>x</string>"), true, "\xFE\xFF")), "x");
    EXPECT_EQ(PropertyList::parse(tests::utf16Bytes(xml("<string>x</string>"), false, "\xFF\xFE")), "x");
    EXPECT_EQ(PropertyList::parse(PropertyList("😀").serialize()), "😀");
}

TEST(LinuxPropertyList, RefusesDamagedLists) {
    const std::string whole = xml("<dict><key>a</key><array><string>b</string></array></dict>");
    for (std::size_t size = 0; size < whole.rfind('>'); ++size) {
        EXPECT_EQ(PropertyList::parse(std::string_view(whole).substr(0, size)), std::nullopt) << size;
    }
    const std::string outer = binary({reference("\xD1", {1, 2}), text("a"), text("bcd")});
    for (std::size_t size = 0; size < outer.size(); ++size) {
        EXPECT_EQ(PropertyList::parse(std::string_view(outer).substr(0, size)), std::nullopt) << size;
        for (unsigned value = 0; value < 256; ++value) { // any single wrong byte: no crash, whatever the result
            std::string changed = outer;
            changed[size] = static_cast<char>(value);
            static_cast<void>(PropertyList::parse(changed));
        }
    }
    const std::string cases[] = {
        "<html><body/></html>",
        std::string(100, '\0'),
        xml(""),
        binary({reference("\xA1", {7})}),                                          // no such object
        binary({reference("\xD1", {1, 2}), std::string("\x52k\0", 3), text("v")}), // NUL in a key
        binary({reference("\xA1", {0})}),                                          // contains itself
    };
    for (const std::string &bytes : cases) {
        EXPECT_EQ(PropertyList::parse(bytes), std::nullopt) << bytes;
    }
}

TEST(LinuxPropertyList, RefusesWhatWouldUseUpTheMachine) {
    EXPECT_TRUE(PropertyList::parse(xml(repeated("<array>", 500) + repeated("</array>", 500))));
    // What the library skips must not end an element.
    for (const char *passedOver : {"", "<!--</array>-->", "<string><![CDATA[</array>]]></string>", "<?x </array>?>",
                                   "<?x \"?></array>\" ?>", "<string a=\"></array>\"/>"}) {
        for (const char *before : {"", "<array/>", "<plist><array/></plist>"}) {
            const std::string deep = repeated(std::string("<array>") + passedOver, 200000);
            EXPECT_FALSE(PropertyList::parse(xml(before + deep + repeated("</array>", 200000))))
                << before << passedOver;
        }
    }
    std::vector<std::string> chain, doubling;
    for (std::size_t index = 1; index < 5000; ++index) {
        chain.push_back(reference("\xA1", {index}));
        doubling.push_back(reference("\xA2", {index, index}));
    }
    doubling.resize(40);
    chain.emplace_back("\x08");
    doubling.emplace_back("\x08");
    EXPECT_FALSE(PropertyList::parse(binary(chain)));
    EXPECT_FALSE(PropertyList::parse(binary(doubling)));
}

TEST(PropertyList, DescribesItselfAsThePlatformDoes) {
    EXPECT_EQ(PropertyList("two words").description(), "two words");
    EXPECT_EQ(PropertyList(PropertyList::Date{-0.5}).description(), "2000-12-31 23:59:59 +0000");
    EXPECT_EQ(PropertyList(PropertyList::Date{362620800 + 59 * 86400}).description(), "2012-08-27 00:00:00 +0000");
    EXPECT_EQ(PropertyList(PropertyList::Data{{0, 0xAB}}).description(), "{length = 2, bytes = 0x00ab}");
    EXPECT_EQ(PropertyList(Dictionary{}).description(), "{\n}");
    EXPECT_EQ(description({}), "(\n)");
    EXPECT_EQ(description({"a", "-b", ""}), "(\n    a,\n    \"-b\",\n    \"\"\n)");
    const PropertyList list(Dictionary{
        {"a b", Array{"a_$/:.9", "q\"\\\n", "ä😀", Array{"x"}, false, -1}},
        {"d", Dictionary{{"k", "v"}}},
    });
    EXPECT_EQ(list.description(), R"({
    "a b" =     (
        a_$/:.9,
        "q\"\\\n",
        "\U00e4\Ud83d\Ude00",
                (
            x
        ),
        0,
        "-1"
    );
    d =     {
        k = v;
    };
})");
}

} // namespace
} // namespace kestrav::platform
