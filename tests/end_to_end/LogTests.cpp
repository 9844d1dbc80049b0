// The debug log, and notices where no desktop shows them.

#include "Launch.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace kestrav::tests {
namespace {

using testing::HasSubstr;

TEST(Log, TellsWhatHappensIfItIsWanted) {
    AppBundle bundle;
    const std::string old = bundle.addRuntime("old.jdk", "1.8.0_202");
    bundle.javaVM["SearchSequence"] = array({text("ENO_SUCH_VARIABLE"), text("R" + old), text("R" + bundle.runtime())});
    bundle.info["ksv.minVersion"] = text("17");
    Launch run(bundle, {.arguments = {"an argument"}, .environment = {{"KESTRAV_LOG", "yes"}}});
    EXPECT_EQ(run.wait(), 0);
    const std::string log = run.errors();
    for (const std::string &line :
         {std::string("int main(int, char **) [Line "), std::string("] app started 2\n"),
          std::string("] arg an argument\n"), std::string("] worker started\n"),
          std::string("] searching for public JREs\n"), std::string("] rejected NO_SUCH_VARIABLE: "),
          "] rejected " + old + ": version 1.8.0_202 ",
          "-[Launcher findJavaBundle:] [Line 646] checking directory " + bundle.runtime() + "\n",
          std::string("] cl arg: an argument \n"), std::string("] args: (\n")}) {
        EXPECT_THAT(log, HasSubstr(line));
    }
}

TEST(Log, NoticesComeFromTheConfiguredMessages) {
    AppBundle bundle;
    bundle.info["CFBundleName"] = text("Täst");
    bundle.info["ksv.minVersion"] = text("99");
    bundle.info["ksv.baseDir"] = text("$APP_PACKAGE/Contents/Resources/app");
    bundle.javaVM["SearchSequence"] = array({}); // nothing is there to be refused
    const std::string tables = "Test.app/Contents/Resources/app/.kestrav/Messages.bundle/";
    const char *german = "\"AppleJavaMinVersionError\" = \"%2$@ braucht Java\\n%1$@, zu 100 %%.\";";
    bundle.folder().write(tables + "de.lproj/Localizable.strings", german);
    bundle.folder().write(tables + "en.lproj/Localizable.strings", R"("AppleJavaMinVersionError" = "unused";)");
    Launch translated(bundle, {.environment = {{"LANG", "de_DE.UTF-8"}}});
    EXPECT_EQ(translated.wait(), 1);
    EXPECT_EQ(translated.errors(), "Täst: Täst braucht Java 99, zu 100 %.\n");

    // No messages there: the log says so, nobody is shown anything.
    bundle.info["ksv.baseDir"] = text("$APP_PACKAGE/Contents/MacOS");
    Launch untold(bundle);
    EXPECT_EQ(untold.wait(), 1);
    EXPECT_THAT(untold.errors(), HasSubstr("] message AppleJavaMinVersionError not found\n"));
    EXPECT_THAT(untold.errors(), testing::Not(HasSubstr("Täst: ")));
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__) // they bring allocations of their own
TEST(Log, WithoutMemoryTheTextOfANoticeIsWritten) {
    AppBundle bundle;
    for (const int allocations : {0, 1, 2, 4, 8, 16}) {
        Launch run(bundle, {.environment = {{"LD_PRELOAD", KESTRAV_FAILING_MALLOC},
                                            {"FAIL_MALLOC", std::to_string(allocations)}}});
        EXPECT_EQ(run.wait(), 1) << allocations;
        EXPECT_EQ(run.errors().find("launcher: An internal error kept this application from starting: "), 0U)
            << run.errors();
    }
}
#endif

} // namespace
} // namespace kestrav::tests
