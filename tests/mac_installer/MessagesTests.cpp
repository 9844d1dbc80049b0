#include "mac_installer/launcher/failure.h"
#include "platform/DebugLog.h"
#include "support/LauncherFixture.h"

namespace kestrav::tests {
namespace {

class Messages : public LauncherFixture {
protected:
    std::string shown(std::string_view key, const OptionalText &a = {}, const OptionalText &b = {}) {
        notices.clear();
        Launcher::displayError(key, a, b);
        return notices.empty() ? "nothing" : notices.front();
    }
};

TEST_F(Messages, AreFilledOnlyWithAFirstArgument) {
    configure({{"CFBundleName", "Tool"}});
    directory.write("Tool.app/Contents/Resources/en.lproj/Localizable.strings",
                    R"("one" = "is 100%d %@"; "two" = "%2$@ needs %1$@, not %3$@"; "plain" = "Plain";
                       "dorvik.InternalError" = "Oh: %@.";)");
    EXPECT_EQ(shown("plain"), "Tool: Plain");
    EXPECT_EQ(shown("one"), "Tool: is 100%d %@");
    EXPECT_EQ(shown("two", "17", "App %@"), "Tool: App %@ needs 17, not (null)");
    EXPECT_EQ(shown("two", "17"), "Tool: (null) needs 17, not (null)");
    EXPECT_EQ(shown("No such key"), "Tool: No such key");
    // The text around it ends the sentence.
    reportFailure("f", 1, platform::Exception("Name", "There is a stop."));
    EXPECT_EQ(notices.back(), "Tool: Oh: There is a stop.");
}

TEST_F(Messages, AMissingRuntimeIsToldWithTheVersionsThatWillDo) {
    const std::string all = R"("JavaMaxVersionError" = "max %3$@";)";
    const std::string usual = R"("AppleJavaMinVersionError" = "min %1$@ %2$@ %3$@";)";
    struct Case {
        const std::string &table;
        Dictionary bounds;
        const char *message;
    };
    const Case cases[] = {
        {all, {{"ksv.minVersion", ""}, {"ksv.maxVersion", "11"}}, "max 11"},
        {usual, {{"ksv.maxVersion", "11"}}, "min %1$@ %2$@ %3$@"},
        {usual, {{"ksv.minVersion", "8"}, {"ksv.maxVersion", "11"}}, "min 8 Tool 11"},
    };
    for (auto [table, info, message] : cases) {
        directory.write("Tool.app/Contents/Resources/en.lproj/Localizable.strings", table);
        info.emplace("CFBundleName", "Tool");
        configure(info);
        notices.clear();
        launcher.displayMissingRuntime();
        EXPECT_EQ(notices, Strings{std::string("Tool: ") + message});
    }
    // Of the refused runtimes the one with the highest version is named.
    Array sequence{"R" + directory.makeDirectory("bare"), "R" + directory.write("file", "")};
    for (const char *version : {"1.8.0_202", "17.0.9", "9"}) {
        sequence.emplace_back("R" + makeRuntime(version, version));
    }
    configure({{"ksv.minVersion", "21"}, {"JavaVM", Dictionary{{"SearchSequence", sequence}}}});
    EXPECT_EQ(launcher.findJavaBundle(false), std::nullopt);
    launcher.displayMissingRuntime();
    EXPECT_EQ(notices.back(), ": min 21 (null) (null)\n" + (directory / "17.0.9") +
                                  ": version 17.0.9 is not within the bounds, minimum 21");
}

TEST_F(Messages, SurviveAConfigurationOfTheWrongType) {
    configure({{"CFBundleName", 7}, {"ksv.baseDir", Array{}}});
    EXPECT_EQ(shown("key"), ": key");
}

TEST_F(Messages, TheDebugLogIsDecidedOnceAndExactly) {
    for (const char *value : {"yes", "yes ", ""}) {
        platform::testing::setDebugLog(std::nullopt);
        setEnvironment({{"KESTRAV_LOG", value}});
        log.clear();
        _DLog("%s [Line %d] first", "f", 1);
        setEnvironment({{"KESTRAV_LOG", value == std::string("yes") ? "no" : "yes"}});
        _DLog("%s [Line %d] second", "f", 2);
        EXPECT_EQ(log.size(), value == std::string("yes") ? 2U : 0U) << value;
    }
}

} // namespace
} // namespace kestrav::tests
