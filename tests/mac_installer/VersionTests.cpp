#include "support/LauncherFixture.h"

#include <gmock/gmock.h>

namespace kestrav::tests {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

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
    // Each is also compared the other way round.
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

class Check : public LauncherFixture {
protected:
    /// Checks a runtime bundle with this Info.plist.
    OptionalText check(Dictionary info, const OptionalText &min = {}, const OptionalText &max = {},
                       bool allowBeta = false, bool plugin = false, const OptionalText &prefix = {}) {
        directory.write("runtime/Contents/Info.plist", PropertyList(std::move(info)).serialize());
        const auto bundle = platform::Bundle::create(directory / "runtime");
        return Launcher::checkJavaVersion(bundle.get(), {min, max, prefix, allowBeta}, plugin).launchVersion;
    }
    static Dictionary version(const char *text) { return {{"JavaVM", Dictionary{{"JVMVersion", text}}}}; }
};

TEST_F(Check, AcceptedVersionsAreCut) {
    struct Case {
        const char *version;
        const char *result;
        int major;
    };
    for (const auto &[text, result, major] :
         {Case{"1.8.0_202", "1.8.0", 8}, Case{"17.0.1+12", "17.0.1", 17}, Case{"11.0.2", "11.0.2", 11},
          Case{"1.8", "1.8", 8}, Case{"1", "1", 1}, Case{"", "", 0}}) {
        EXPECT_EQ(check(version(text)), result);
        EXPECT_EQ(Launcher::checkBundleVersion({{}, text, {}, {}}, {}, false).majorVersion, major) << text;
    }
    EXPECT_EQ(check(version("11.0.2"), "1.8", "1.8"), std::nullopt);
    EXPECT_THAT(logged("comparing3"), testing::Contains("comparing3 11.0.2 (\n    11,\n    0,\n    2\n) 1.8 1.8"));
}

TEST_F(Check, WhatABundleDeclaresDecides) {
    const Dictionary seventeen{{"JVMVersion", "17"}};
    const Dictionary early{{"JavaVM", Dictionary{{"JVMVersion", "17-ea"}}}};
    const Dictionary marked{{"JavaVM", seventeen}, {"EvarVersion", "17-beta"}};
    const Dictionary told{{"JavaVM", seventeen}, {"CFBundleGetInfoString", "a release of 17"}};
    const Dictionary named{{"JavaVM", seventeen}, {"CFBundleIdentifier", "com.example.jdk"}};
    const Dictionary plugin{{"CFBundleVersion", "1.8.202.08"}};
    struct Case {
        Dictionary info;
        bool allowBeta;
        OptionalText prefix;
        OptionalText result;
    };
    for (const auto &[info, allowBeta, prefix, result] :
         {Case{early, false, {}, {}}, Case{version("17-rc+1"), false, {}, {}}, Case{early, true, {}, "17-ea"},
          Case{marked, false, {}, {}}, Case{marked, true, {}, "17"}, Case{told, false, {}, {}},
          Case{told, true, {}, "17"}, Case{version("17"), false, "com.example", "17"}, // has no identifier
          Case{named, false, "com.example", "17"}, Case{named, false, "com.Example", {}}, Case{named, false, "", "17"},
          Case{plugin, false, {}, {}}, Case{{{"JavaVM", "text"}}, true, {}, {}},
          Case{{{"JavaVM", Dictionary{{"JVMVersion", 17}}}}, true, {}, {}}}) {
        EXPECT_EQ(check(info, {}, {}, allowBeta, false, prefix), result) << PropertyList(info).description();
    }
    // The plug-in's own form of a version.
    EXPECT_EQ(check(plugin, "1.8.0_202", "1.8.0_202", false, true), "1.8.202.08");
    EXPECT_EQ(check(plugin, "1.8.0_203", "", false, true), std::nullopt);
    EXPECT_EQ(check(version("1.8.0_202"), "1.8.0_202", {}, false, true), "1.8.0"); // the usual form already
}

TEST_F(Check, ATranslatedProcessNeedsItsOwnArchitecture) {
    Dictionary info = version("17");
    info.emplace("CFBundleExecutable", "libjli.dylib");
    const auto result = [&](const std::string &bytes, std::optional<std::int32_t> translated) {
        directory.write("runtime/Contents/MacOS/libjli.dylib", bytes + std::string(24, '\0'));
        platform::testing::replacements().systemControl = [=](const std::string &name) {
            return name == "sysctl.proc_translated" ? translated : std::nullopt;
        };
        return check(info);
    };
    const std::string x86("\xcf\xfa\xed\xfe\x07\x00\x00\x01", 8);
    const std::string arm("\xcf\xfa\xed\xfe\x0c\x00\x00\x01", 8);
    EXPECT_EQ(result(arm, std::nullopt), "17");
    EXPECT_EQ(result(arm, 0), "17");
    EXPECT_EQ(result(arm, 1), std::nullopt);
    EXPECT_THAT(log.back(), HasSubstr("_Bool checkArchitecture(CFBundleRef) [Line 81] checking architectures 16777223 "
                                      "(\n    16777228\n)"));
    EXPECT_EQ(result(x86, 1), "17");
    EXPECT_EQ(result("no program", 1), std::nullopt);
}

} // namespace
} // namespace kestrav::tests
