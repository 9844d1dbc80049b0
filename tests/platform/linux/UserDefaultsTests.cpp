#include "platform/FileManager.h"
#include "platform/UserDefaults.h"
#include "platform/support/PropertyListBytes.h"
#include "platform/testing.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>

namespace kestrav::platform {
namespace {

using Array = PropertyList::Array;
using Dictionary = PropertyList::Dictionary;

class UserDefaultsTest : public ::testing::Test {
protected:
    UserDefaultsTest() {
        useBundle(Dictionary{{"CFBundleIdentifier", "id"}});
        testing::setEnvironment({{"XDG_CONFIG_HOME", directory_ / "config"}, {"HOME", directory_ / "home"}});
    }
    void writeDomain(const std::string &folder, const std::string &domain, const PropertyList &values) const {
        directory_.write(folder + "/kestrav/" + domain + ".plist", values.serialize());
    }
    void useBundle(const PropertyList &information) const {
        directory_.write("App.app/Contents/Info.plist", information.serialize());
        testing::replacements().mainBundle = Bundle::create(directory_ / "App.app");
    }

    tests::TemporaryDirectory directory_;
    UserDefaults defaults_;
};

TEST_F(UserDefaultsTest, SearchesOwnDomainSuitesAndGlobalDomain) {
    writeDomain("config", "id", Dictionary{{"a", "own"}});
    writeDomain("config", "suite",
                Dictionary{{"a", "suite"}, {"b", "suite"}, {"d", Dictionary{{"k", Array{1, "x", true}}}}});
    writeDomain("config", ".GlobalPreferences", Dictionary{{"a", "global"}, {"b", "global"}});
    writeDomain("home/.config", "id", Dictionary{{"c", "elsewhere"}});
    defaults_.addSuiteNamed("../kestrav/suite");
    EXPECT_EQ(defaults_.stringForKey("a"), "own");
    EXPECT_EQ(defaults_.stringForKey("b"), "global");
    EXPECT_EQ(defaults_.objectForKey("c"), std::nullopt);
    defaults_.addSuiteNamed("suite");
    EXPECT_EQ(defaults_.stringForKey("a"), "own");
    EXPECT_EQ(defaults_.stringForKey("b"), "suite");
    EXPECT_EQ(defaults_.dictionaryForKey("d"), Dictionary({{"k", Array{1, "x", true}}}));
    EXPECT_EQ(defaults_.stringForKey("d"), std::nullopt);
    EXPECT_EQ(defaults_.dictionaryForKey("a"), std::nullopt);
    // A damaged one is ignored.
    directory_.write("config/kestrav/id.plist", "<plist><dict><key>a</key>");
    EXPECT_EQ(UserDefaults().stringForKey("a"), "global");
}

TEST_F(UserDefaultsTest, NamesItsOwnDomain) {
    testing::setArguments({"/opt/App/launcher"});
    const struct {
        PropertyList information;
        const char *domain;
    } cases[] = {
        {Dictionary{{"CFBundleIdentifier", 5}, {"CFBundleName", "Name"}}, "Name"},
        {Dictionary{}, "launcher"},
    };
    // A relative configuration directory is ignored.
    testing::setEnvironment({{"XDG_CONFIG_HOME", "relative"}, {"HOME", directory_ / "home"}});
    for (const auto &[information, domain] : cases) {
        useBundle(information);
        writeDomain("home/.config", domain, Dictionary{{"key", domain}});
        EXPECT_EQ(defaults_.stringForKey("key"), domain);
    }
}

TEST_F(UserDefaultsTest, KeepsWhatElseAFileHolds) {
    using tests::binary;
    using tests::reference;
    using tests::text;
    const std::string plain = tests::xml("<dict><key>other</key><string>b</string></dict>");
    const struct {
        std::string content;
        bool writable;
    } cases[] = {
        {plain, true},
        {"\xEF\xBB\xBF" + plain, true},
        {binary({reference("\xD1", {1, 2}), text("other"), text("b")}), true},
        {binary({reference("\xD2", {1, 2, 3, 2}), text("other"), text("b"), text("no\xE4scii")}), false},
        {binary({reference("\xD1", {1, 0}), text("itself")}), false},
        {"bplist01" + plain, false},
        {tests::xml("<array/>"), false},
    };
    for (const auto &[content, writable] : cases) {
        const std::string file = directory_.write("config/kestrav/id.plist", content);
        defaults_.setObject("set", "key");
        const auto written = contentsOfFile(file);
        ASSERT_TRUE(written);
        EXPECT_EQ(written != content, writable) << content;
        if (writable) {
            EXPECT_EQ(PropertyList::parse(*written), Dictionary({{"key", "set"}, {"other", "b"}})) << content;
            EXPECT_EQ(written->starts_with("bplist00"), content.starts_with("bplist00")) << content;
            EXPECT_EQ(UserDefaults().stringForKey("key"), "set");
        }
    }
}

} // namespace
} // namespace kestrav::platform
