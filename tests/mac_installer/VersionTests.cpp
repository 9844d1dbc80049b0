#include "support/LauncherFixture.h"

#include <gmock/gmock.h>

namespace kestrav::tests {
namespace {

using testing::ElementsAre;

TEST(Versions, AreSplitIntoRunsAndSingleSeparators) {
    EXPECT_TRUE(Launcher::splitVersionString("").empty());
    EXPECT_THAT(Launcher::splitVersionString("1..0-ea"), ElementsAre(u"1", u".", u".", u"0", u"-", u"ea"));
    // Arabic-Indic digits are digits, a no-break space is a separator, half a surrogate pair is text.
    EXPECT_THAT(Launcher::splitVersionString("\u0661\u06627\u00a0x\U0001F600"),
                ElementsAre(u"\u0661\u06627", u"\u00a0", u"x\U0001F600"));
}

TEST(Versions, AreOrderedByElements) {
    struct Case {
        const char *a;
        const char *b;
        int order;
    };
    // Each also holds the other way round.
    const Case cases[] = {
        {"", "", 0},
        {"", "1", -1},
        {"1.8.0_202", "11.0.2", -1},
        {"11.0.2", "11.0.10", -1},
        {"11.0.2ea", "11.0.2", -1},
        {"1.8.0", "1.8.0-beta", -1},
        {"1.8.0_202", "1.8.0.202", 0},
        {"08", "8", 0},
        {"a", ".", -1},
        {".", "1", -1},
        {"Ea", "ea", -1},
        {"9223372036854775806", "99999999999999999999", -1},
        {"99999999999999999998", "99999999999999999999", 0}, // beyond 64 bits both are the largest
    };
    for (const auto &[a, b, order] : cases) {
        EXPECT_EQ(Launcher::compareVersion(a, b), order) << a << " / " << b;
        EXPECT_EQ(Launcher::compareVersion(b, a), -order) << b << " / " << a;
    }
}

TEST(Versions, RuntimePrefixesAreRemovedOnceEach) {
    const std::pair<const char *, const char *> cases[] = {
        {"openjdk-17.0.2", "17.0.2"}, {"jdk1.8.0_202.jdk", "1.8.0_202.jdk"},
        {"openjdk-jdk-11", "11"},     {"openjdk-openjdk-7", "-7"},
        {"JDK-11", "JDK-11"},
    };
    for (const auto &[name, rest] : cases) {
        EXPECT_EQ(Launcher::removeJrePrefix(name), rest) << name;
    }
}

TEST(Versions, BoundsAreInclusiveAndOnlyAsLongAsTheyAre) {
    struct Case {
        OptionalText bound;
        const char *version;
        bool asMinimum;
        bool asMaximum;
    };
    const Case cases[] = {
        {std::nullopt, "1.8", true, true},
        {"", "1.8", true, true},
        {"1.7", "1.8.0_202", true, false},
        {"1.8", "1.8.0_202", true, true},
        {"1.8.0_60", "1.8.0_45", false, true},
        {"9", "1.8.0_202", false, true},
        {"11.0.3", "11.0", false, true},
        {"11.0.0", "11", true, true},
        {"11", "", false, true},
        {"99999999999", "2147483647", false, true},                  // more than 32 bits, as in dates and build numbers
        {"99999999999999999999", "9223372036854775807", true, true}, // more than 64: the largest there is
    };
    for (const auto &[bound, version, asMinimum, asMaximum] : cases) {
        const auto list = Launcher::versionListOf(version);
        EXPECT_EQ(Launcher::compareVersion(bound, list, false), asMinimum) << bound.value_or("-") << " min " << version;
        EXPECT_EQ(Launcher::compareVersion(bound, list, true), asMaximum) << bound.value_or("-") << " max " << version;
    }
}

} // namespace
} // namespace kestrav::tests
