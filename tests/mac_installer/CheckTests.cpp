#include "support/LauncherFixture.h"

#include <gmock/gmock.h>

namespace kestrav::tests {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class Check : public LauncherFixture {
protected:
    /// Checks a runtime bundle with this Info.plist.
    OptionalText check(Dictionary info, const OptionalText &min = {}, const OptionalText &max = {},
                       bool allowBeta = false, bool plugin = false, const OptionalText &prefix = {}) {
        directory.write("runtime/Contents/Info.plist", PropertyList(std::move(info)).serialize());
        launcher.javaBundle = platform::Bundle::create(directory / "runtime");
        return launcher.checkJavaVersion(min, max, allowBeta, plugin, prefix);
    }
    static Dictionary version(const char *text) { return {{"JavaVM", Dictionary{{"JVMVersion", text}}}}; }
};

TEST_F(Check, AcceptedVersionsAreCutAndRecorded) {
    struct Case {
        const char *version;
        const char *result;
        int major;
    };
    for (const auto &[text, result, major] : {Case{"1.8.0_202", "1.8.0", 8}, Case{"17.0.1+12", "17.0.1", 17},
                                              Case{"11.0.2", "11.0.2", 11}, Case{"1", "1", 1}, Case{"", "", 0}}) {
        EXPECT_EQ(check(version(text)), result);
        EXPECT_EQ(launcher.javaVersion, text);
        EXPECT_EQ(launcher.javaMajorVersion, major) << text;
    }
}

TEST_F(Check, BoundsDecideAndRejectionKeepsEarlierValues) {
    EXPECT_EQ(check(version("1.8.0_202"), "1.8", "1.8"), "1.8.0");
    EXPECT_EQ(check(version("11.0.2"), "1.8", "1.8"), std::nullopt);
    EXPECT_EQ(launcher.javaVersion, "1.8.0_202");
    EXPECT_EQ(launcher.javaMajorVersion, 8);
    EXPECT_THAT(logged("comparing3"), testing::Contains("comparing3 11.0.2 (\n    11,\n    0,\n    2\n) 1.8 1.8"));
    EXPECT_THAT(logged("comparing4"), ElementsAre("comparing4 1 1", "comparing4 1 0"));
    EXPECT_THAT(logged("check returned"), ElementsAre("check returned 1.8.0", "check returned (null)"));
}

TEST_F(Check, PreReleasesNeedPermission) {
    Dictionary marked = version("17");
    marked.emplace("EvarVersion", "17-beta");
    Dictionary told = version("17");
    told.emplace("CFBundleGetInfoString", "a release of 17");
    for (const Dictionary &info : {version("17-ea"), marked, told}) {
        EXPECT_EQ(check(info), std::nullopt);
        EXPECT_NE(check(info, {}, {}, true), std::nullopt);
    }
}

TEST_F(Check, ThePrefixIsAskedOfBundlesWithAnIdentifier) {
    Dictionary info = version("17");
    EXPECT_EQ(check(info, {}, {}, false, false, "com.example"), "17"); // has no identifier
    info.emplace("CFBundleIdentifier", "com.example.jdk");
    EXPECT_EQ(check(info, {}, {}, false, false, "com.example"), "17");
    EXPECT_EQ(check(info, {}, {}, false, false, "com.Example"), std::nullopt);
    EXPECT_EQ(check(info, {}, {}, false, false, ""), "17");
    EXPECT_THAT(log.back(), HasSubstr("check returned 17"));
    log.clear();
    EXPECT_EQ(check(info, {}, {}, false, false, "org."), std::nullopt);
    const std::string signature = "-[Launcher checkJavaVersion:max:allowBeta:plugin:requiredVmPrefix:]";
    EXPECT_THAT(log, ElementsAre(signature + " [Line 393] identifier1 org.",
                                 signature + " [Line 397] identifier com.example.jdk org."));
}

TEST_F(Check, ThePluginKeepsItsVersionInAFormOfItsOwn) {
    const auto plugin = [this](const char *text, const char *min, const char *max) {
        return check({{"CFBundleVersion", text}}, min, max, false, true);
    };
    EXPECT_EQ(plugin("1.8.202.08", "1.8.0_202", "1.8.0_202"), "1.8.202.08");
    EXPECT_EQ(plugin("1.7.0.45", "1.7.0_45", "1.7.0_45"), "1.7.0.45");
    EXPECT_EQ(plugin("1.8.202.08", "1.8.0_203", ""), std::nullopt);
    EXPECT_EQ(check({{"CFBundleVersion", "17"}}), std::nullopt); // not the plug-in
}

TEST_F(Check, WithoutABundleOrAVersionThereIsOneLine) {
    EXPECT_EQ(launcher.checkJavaVersion({}, {}, true, false, "com."), std::nullopt);
    EXPECT_THAT(log,
                ElementsAre("-[Launcher checkBundleVersion:max:allowBeta:plugin:bundleVersion:evarVersion:infoString:] "
                            "[Line 465] check returned (null)"));
    EXPECT_EQ(check({{"JavaVM", "text"}}), std::nullopt);
    EXPECT_EQ(check({{"JavaVM", Dictionary{{"JVMVersion", 17}}}}), std::nullopt);
}

TEST_F(Check, ATranslatedProcessNeedsItsOwnArchitecture) {
    Dictionary info = version("17");
    info.emplace("CFBundleExecutable", "libjli.dylib");
    const auto executable = [this](std::string_view bytes) {
        directory.write("runtime/Contents/MacOS/libjli.dylib", bytes);
        return "runtime";
    };
    const std::string x86 = std::string("\xcf\xfa\xed\xfe\x07\x00\x00\x01", 8) + std::string(24, '\0');
    const std::string arm = std::string("\xcf\xfa\xed\xfe\x0c\x00\x00\x01", 8) + std::string(24, '\0');

    executable(arm);
    EXPECT_EQ(check(info), "17"); // nobody asks outside translation
    EXPECT_FALSE(wasLogged("checking architectures"));
    platform::testing::setSystemControl([](const std::string &name) -> std::optional<std::int32_t> {
        return name == "sysctl.proc_translated" ? std::optional(1) : std::nullopt;
    });
    EXPECT_EQ(check(info), std::nullopt);
    EXPECT_THAT(log.back(), HasSubstr("_Bool checkArchitecture(CFBundleRef) [Line 81] checking architectures 16777223 "
                                      "(\n    16777228\n)"));
    executable(x86);
    EXPECT_EQ(check(info), "17");
    executable("no program");
    EXPECT_EQ(check(info), std::nullopt);
    platform::testing::setSystemControl([](const std::string &) { return std::optional(0); });
    EXPECT_EQ(check(info), "17");
}

} // namespace
} // namespace kestrav::tests
