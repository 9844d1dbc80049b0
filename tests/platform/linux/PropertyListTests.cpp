#include "platform/PropertyList.h"
#include "platform/support/PropertyListBytes.h"

#include <gtest/gtest.h>

// The library that reads property lists on Linux follows whatever the bytes say.

namespace kestrav::platform {
namespace {

using tests::binary;
using tests::reference;
using tests::repeated;
using tests::text;
using tests::xml;

TEST(PropertyList, ReadsMarkedSectionsAndWritesRareCharacters) {
    EXPECT_EQ(PropertyList::parse(xml("<string>a<![CDATA[<b>]]></string>")), "a<b>");
    EXPECT_EQ(PropertyList::parse(PropertyList("😀").serialize()), "😀");
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
        "<html><body/></html>",
        std::string(100, '\0'),
        xml(""),
        binary({reference("\xA1", {7})}),                                          // no such object
        binary({reference("\xD1", {1, 2}), std::string("\x52k\0", 3), text("v")}), // NUL in a key
    };
    for (const std::string &bytes : cases) {
        EXPECT_EQ(PropertyList::parse(bytes), std::nullopt) << bytes;
    }
}

TEST(PropertyList, RefusesWhatWouldUseUpTheMachine) {
    EXPECT_TRUE(PropertyList::parse(xml(repeated("<array>", 500) + repeated("</array>", 500))));
    // What the library passes over ends no element.
    for (const char *passedOver : {"", "<!--</array>-->", "<string><![CDATA[</array>]]></string>", "<?x </array>?>",
                                   "<?x \"?></array>\" ?>", "<string a=\"></array>\"/>"}) {
        for (const char *before : {"", "<array/>", "<plist><array/></plist>"}) {
            const std::string deep = repeated(std::string("<array>") + passedOver, 200000);
            EXPECT_FALSE(PropertyList::parse(xml(before + deep + repeated("</array>", 200000))))
                << before << passedOver;
        }
    }
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

} // namespace
} // namespace kestrav::platform
