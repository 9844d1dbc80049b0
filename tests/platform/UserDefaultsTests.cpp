#include "platform/UserDefaults.h"
#include "platform/support/UserSettings.h"

#include <gtest/gtest.h>

namespace kestrav::platform {
namespace {

using Array = PropertyList::Array;
using Dictionary = PropertyList::Dictionary;
using tests::DefaultsDomain;

TEST(UserDefaults, SearchesOwnDomainSuitesAndGlobalDomain) {
    tests::setDefaults(DefaultsDomain::own, Dictionary{{"a", "own"}});
    tests::setDefaults(DefaultsDomain::suite,
                       Dictionary{{"a", "suite"}, {"b", "suite"}, {"d", Dictionary{{"k", Array{1, "x", true}}}}});
    tests::setDefaults(DefaultsDomain::global, Dictionary{{"b", "global"}, {"AppleLocale", "de_DE"}});

    UserDefaults defaults;
    EXPECT_EQ(defaults.stringForKey("a"), "own");
    EXPECT_EQ(defaults.stringForKey("b"), "global");
    EXPECT_EQ(defaults.dictionaryForKey("d"), std::nullopt);
    defaults.addSuiteNamed(tests::suiteName);
    defaults.addSuiteNamed(tests::suiteName);
    EXPECT_EQ(defaults.stringForKey("a"), "own");
    EXPECT_EQ(defaults.stringForKey("b"), "suite");
    EXPECT_EQ(defaults.stringForKey("AppleLocale"), "de_DE");
    EXPECT_EQ(defaults.dictionaryForKey("d"), Dictionary({{"k", Array{1, "x", true}}}));
    EXPECT_EQ(defaults.stringForKey("d"), std::nullopt);
    EXPECT_EQ(defaults.dictionaryForKey("a"), std::nullopt);
    EXPECT_EQ(defaults.objectForKey("missing"), std::nullopt);
}

TEST(UserDefaults, WritesToTheOwnDomain) {
    tests::setDefaults(DefaultsDomain::own, Dictionary{{"old", Array{1, 2}}});
    tests::setDefaults(DefaultsDomain::global, Dictionary{{"key", "global"}});
    UserDefaults::standardUserDefaults().setObject("manual", "key");
    EXPECT_EQ(UserDefaults().stringForKey("key"), "manual");
    EXPECT_EQ(UserDefaults().objectForKey("old"), Array({1, 2}));
}

} // namespace
} // namespace kestrav::platform
