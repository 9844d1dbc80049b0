#include "platform/UserDefaults.h"
#include "platform/testing.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>

namespace kestrav::platform {
namespace {

using tests::TemporaryDirectory;
using Dictionary = PropertyList::Dictionary;

class UserDefaultsFileTest : public ::testing::Test {
protected:
    void writeDomain(const std::string &folder, const std::string &domain, const PropertyList &values) const {
        directory_.write(folder + "/kestrav/" + domain + ".plist", values.serialize());
    }

    void useBundle(const PropertyList &information) const {
        directory_.write("App.app/Contents/Info.plist", information.serialize());
        testing::setMainBundle(directory_ / "App.app");
    }

    TemporaryDirectory directory_;
    UserDefaults defaults_;
};

TEST_F(UserDefaultsFileTest, KeepsItsDomainsInOneFolder) {
    useBundle(Dictionary{{"CFBundleIdentifier", "id"}});
    testing::setEnvironment({{"XDG_CONFIG_HOME", directory_ / "config"}, {"HOME", directory_ / "home"}});
    writeDomain("config", "suite", Dictionary{{"a", "suite"}});
    writeDomain("home/.config", "id", Dictionary{{"a", "elsewhere"}});
    defaults_.addSuiteNamed("../kestrav/suite");
    EXPECT_EQ(defaults_.stringForKey("a"), std::nullopt);
    // A damaged one is passed over.
    directory_.write("config/kestrav/id.plist", "<plist><dict><key>a</key>");
    writeDomain("config", ".GlobalPreferences", Dictionary{{"a", "global"}});
    EXPECT_EQ(UserDefaults().stringForKey("a"), "global");
}

TEST_F(UserDefaultsFileTest, NamesItsOwnDomain) {
    testing::setArguments({"/opt/App/launcher"});
    const struct {
        PropertyList information;
        const char *domain;
    } cases[] = {
        {Dictionary{{"CFBundleIdentifier", 5}, {"CFBundleName", "Name"}}, "Name"},
        {Dictionary{}, "launcher"},
    };
    // A relative configuration directory counts as none.
    testing::setEnvironment({{"XDG_CONFIG_HOME", "relative"}, {"HOME", directory_ / "home"}});
    for (const auto &[information, domain] : cases) {
        useBundle(information);
        writeDomain("home/.config", domain, Dictionary{{"key", domain}});
        EXPECT_EQ(defaults_.stringForKey("key"), domain);
    }
}

} // namespace
} // namespace kestrav::platform
