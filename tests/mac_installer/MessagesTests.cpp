#include "support/LauncherFixture.h"

#include <gmock/gmock.h>

namespace kestrav::tests {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class Messages : public LauncherFixture {
protected:
    std::string shown(std::string_view key, const OptionalText &a = {}, const OptionalText &b = {}) {
        notices.clear();
        Launcher::displayError(key, a, b);
        return notices.empty() ? "nothing" : notices.front();
    }
    static constexpr const char *table =
        R"("one" = "is 100%d %@"; "two" = "%2$@ needs %1$@, not %3$@"; "plain" = "Plain";)";
};

TEST_F(Messages, AreFilledOnlyWithAFirstArgument) {
    configure({{"CFBundleName", "Tool"}});
    directory.write("Tool.app/Contents/Resources/en.lproj/Localizable.strings", table);
    EXPECT_EQ(shown("plain"), "Tool: Plain");
    EXPECT_EQ(shown("one"), "Tool: is 100%d %@");
    EXPECT_EQ(shown("one", std::nullopt, "b"), "Tool: is 100%d %@");
    EXPECT_EQ(shown("two", "17", "App %@"), "Tool: App %@ needs 17, not (null)");
    EXPECT_EQ(shown("two", "17"), "Tool: (null) needs 17, not (null)");
    EXPECT_EQ(shown("No such key"), "Tool: No such key");
}

TEST_F(Messages, ComeFromTheConfiguredBundle) {
    directory.write("Tool.app/Contents/Resources/en.lproj/Localizable.strings", table);
    directory.write("Tool.app/Contents/app/.kestrav/Messages.bundle/Contents/Resources/en.lproj/Localizable.strings",
                    R"("plain" = "Theirs";)");
    configure({{"CFBundleName", "Tool"}, {"ksv.baseDir", "$APP_PACKAGE/Contents/app"}});
    EXPECT_EQ(shown("plain"), "Tool: Theirs");
    EXPECT_EQ(shown("one"), "Tool: one");
    configure({{"CFBundleName", "Tool"}, {"ksv.baseDir", "/nowhere"}});
    launchGlobals.logStatus = 2; // the line is no debug line
    EXPECT_EQ(shown("plain"), "nothing");
    EXPECT_THAT(log, ElementsAre(HasSubstr("message plain not found")));
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
