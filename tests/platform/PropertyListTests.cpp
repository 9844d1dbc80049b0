#include "platform/PropertyList.h"

#include <gtest/gtest.h>

#include <limits>

namespace kestrav::platform {
namespace {

using Array = PropertyList::Array;
using Dictionary = PropertyList::Dictionary;

std::string xml(const std::string &value) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
           "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n<plist version=\"1.0\">\n" +
           value + "\n</plist>\n";
}

std::string repeated(const std::string &text, std::size_t count) {
    std::string result;
    for (; count > 0; --count) {
        result += text;
    }
    return result;
}

/// A number of two bytes, big-endian.
std::string twoBytes(std::size_t number) {
    return {static_cast<char>(number >> 8U), static_cast<char>(number & 0xFFU)};
}

/// A binary list of the given objects, with offsets and references of two bytes; the first object is the outermost.
std::string binary(const std::vector<std::string> &objects) {
    std::string bytes = "bplist00";
    std::string offsets;
    for (const std::string &object : objects) {
        offsets += twoBytes(bytes.size());
        bytes += object;
    }
    const std::string table = twoBytes(bytes.size());
    const std::string zeros(6, '\0');
    return bytes + offsets + zeros + "\x02\x02" + zeros + twoBytes(objects.size()) + zeros + twoBytes(0) + zeros +
           table;
}

std::string reference(const std::string &marker, std::initializer_list<std::size_t> objects) {
    std::string bytes = marker;
    for (const std::size_t object : objects) {
        bytes += twoBytes(object);
    }
    return bytes;
}

std::string text(const std::string &ascii) {
    return static_cast<char>(0x50U | ascii.size()) + ascii;
}

TEST(PropertyList, ReadsXML) {
    const struct {
        const char *value;
        PropertyList expected;
    } cases[] = {
        {"<dict/>", Dictionary{}},
        {"<string> a &lt;&#228;&gt; </string>", " a <ä> "},
        {"<string>a<![CDATA[<b>]]></string>", "a<b>"},
        {"<integer>-5</integer>", -5},
        {"<integer>9223372036854775807</integer>", std::numeric_limits<std::int64_t>::max()},
        {"<integer>-9223372036854775808</integer>", std::numeric_limits<std::int64_t>::min()},
        {"<integer>18446744073709551615</integer>", std::numeric_limits<std::int64_t>::max()},
        {"<real>2.5</real>", 2.5},
        {"<array><true/><false/></array>", Array{true, false}},
        {"<data>\n AQID\n</data>", PropertyList::Data{{1, 2, 3}}},
        {"<date>2001-01-02T00:00:00Z</date>", PropertyList::Date{86400}},
        {"<!-- <key>x</key> --><dict><key>k</key><dict><key>n</key><string/></dict></dict>",
         Dictionary{{"k", Dictionary{{"n", ""}}}}},
    };
    for (const auto &[value, expected] : cases) {
        EXPECT_EQ(PropertyList::parse(xml(value)), expected) << value;
        EXPECT_EQ(PropertyList::parse("\xEF\xBB\xBF" + xml(value)), expected) << value;
    }
}

TEST(PropertyList, ReadsBinary) {
    EXPECT_EQ(PropertyList::parse(binary({reference("\xD2", {1, 2, 3, 4}), text("a"), text("b"), text("x"), "\x09"})),
              Dictionary({{"a", "x"}, {"b", true}}));
    EXPECT_EQ(PropertyList::parse(binary({std::string("\x62\x00\xE4\x20\xAC", 5)})), "ä€");
    EXPECT_EQ(PropertyList::parse(binary({std::string("\x13\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFE", 9)})), -2);
    EXPECT_EQ(PropertyList::parse(binary({"\x11\xFF\xFF"})), 65535);
}

TEST(PropertyList, WritesWhatItReads) {
    const PropertyList list(Dictionary{{"text", "<&>\" ä😀"},
                                       {"numbers", Array{0, -1, std::numeric_limits<std::int64_t>::min(), 0.1, 1e300}},
                                       {"flags", Array{true, false}},
                                       {"data", PropertyList::Data{std::vector<std::uint8_t>(100, 7)}},
                                       {"dates", Array{PropertyList::Date{-86400}, PropertyList::Date{700000000}}},
                                       {"", Dictionary{{"empty", Array{}}}}});
    EXPECT_EQ(PropertyList::parse(list.serialize()), list);
    EXPECT_EQ(PropertyList::parse(PropertyList("\xFF").serialize()), "\uFFFD");
}

TEST(PropertyList, RefusesDamagedLists) {
    const std::string whole = xml("<dict><key>a</key><array><string>b</string></array></dict>");
    for (std::size_t size = 0; size < whole.rfind('>'); ++size) {
        EXPECT_EQ(PropertyList::parse(std::string_view(whole).substr(0, size)), std::nullopt) << size;
    }
    const std::string outer = binary({reference("\xD1", {1, 2}), text("a"), text("bcd")});
    for (std::size_t size = 0; size < outer.size(); ++size) {
        EXPECT_EQ(PropertyList::parse(std::string_view(outer).substr(0, size)), std::nullopt) << size;
        for (unsigned value = 0; value < 256; ++value) { // any single wrong byte: no crash, whatever comes out
            std::string changed = outer;
            changed[size] = static_cast<char>(value);
            static_cast<void>(PropertyList::parse(changed));
        }
    }
    const std::string cases[] = {
        "hello",
        "a = b;",
        "<html><body/></html>",
        "bplist00",
        std::string(100, '\0'),
        xml(""),
        xml("<dict><string>a</string></dict>"),
        xml("<string>\xE4</string>"),
        xml(std::string("<string>a\0b</string>", 20)),
        binary({reference("\xA1", {7})}),                                           // no such object
        binary({reference("\xD1", {1, 2}), std::string("\x52k\0", 3), text("v")}),  // NUL in a key
        binary({reference("\xD1", {1, 2}), std::string("\x61\0\0", 3), text("v")}), // likewise, UTF-16
    };
    for (const std::string &bytes : cases) {
        EXPECT_EQ(PropertyList::parse(bytes), std::nullopt) << bytes;
    }
}

TEST(PropertyList, RefusesWhatWouldUseUpTheMachine) {
    EXPECT_TRUE(PropertyList::parse(xml(repeated("<array>", 500) + repeated("</array>", 500))));
    EXPECT_FALSE(PropertyList::parse(xml(repeated("<array>", 200000) + repeated("</array>", 200000))));
    EXPECT_TRUE(PropertyList::parse(xml("<array>" + repeated("<dict/>", 2000) + "</array>")));

    EXPECT_FALSE(PropertyList::parse(binary({reference("\xA1", {0})}))) << "contains itself";
    std::vector<std::string> chain;
    std::vector<std::string> doubling;
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
    EXPECT_EQ(PropertyList(true).description(), "1");
    EXPECT_EQ(PropertyList(PropertyList::Date{-0.5}).description(), "2000-12-31 23:59:59 +0000");
    EXPECT_EQ(PropertyList(PropertyList::Date{362620800 + 59 * 86400}).description(), "2012-08-27 00:00:00 +0000");
    EXPECT_EQ(PropertyList(PropertyList::Data{{0, 0xAB}}).description(), "{length = 2, bytes = 0x00ab}");
    EXPECT_EQ(PropertyList(Array{}).description(), "(\n)");
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

TEST(PropertyList, FindsEntriesOfDictionariesOnly) {
    const PropertyList list(Dictionary{{"a", 1}});
    ASSERT_NE(list.find("a"), nullptr);
    EXPECT_EQ(*list.find("a"), 1);
    EXPECT_EQ(list.find("b"), nullptr);
    EXPECT_EQ(PropertyList("a").find("a"), nullptr);
    EXPECT_EQ(list.typeName(), "a dictionary");
    EXPECT_EQ(PropertyList(1.5).typeName(), "a number");
}

} // namespace
} // namespace kestrav::platform
