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
                    R"("one" = "is 100%d %@"; "two" = "%2$@ needs %1$@, not %3$@"; "plain" = "Plain";)");
    EXPECT_EQ(shown("plain"), "Tool: Plain");
    EXPECT_EQ(shown("one"), "Tool: is 100%d %@");
    EXPECT_EQ(shown("two", "17", "App %@"), "Tool: App %@ needs 17, not (null)");
    EXPECT_EQ(shown("two", "17"), "Tool: (null) needs 17, not (null)");
    EXPECT_EQ(shown("No such key"), "Tool: No such key");
}

TEST_F(Messages, SurviveAConfigurationOfTheWrongType) {
    configure({{"CFBundleName", 7}, {"ksv.baseDir", Array{}}});
    EXPECT_EQ(shown("key"), ": key");
}

TEST_F(Messages, TheDebugLogIsDecidedOnceAndExactly) {
    for (const auto &[value, on] :
         {std::pair{"yes", true}, {"YES", false}, {"1", false}, {"yes ", false}, {"", false}}) {
        launchGlobals.logStatus = 0;
        setEnvironment({{"KESTRAV_LOG", value}});
        log.clear();
        _DLog("%s [Line %d] first", "f", 1);
        setEnvironment({{"KESTRAV_LOG", on ? "no" : "yes"}});
        _DLog("%s [Line %d] second", "f", 2);
        EXPECT_EQ(log, on ? (Strings{"f [Line 1] first", "f [Line 2] second"}) : Strings{}) << value;
    }
}

} // namespace
} // namespace kestrav::tests
