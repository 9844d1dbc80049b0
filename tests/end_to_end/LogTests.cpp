// The debug log, and notices where no desktop shows them.

#include "Launch.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

namespace kestrav::tests {
namespace {

using testing::ElementsAreArray;
using testing::HasSubstr;

/// What stands behind the prefix of each log line that contains `word`.
std::vector<std::string> messages(const std::string &log, std::string_view word) {
    std::vector<std::string> result;
    std::istringstream lines(log);
    for (std::string line; std::getline(lines, line);) {
        const auto prefix = line.find(" [Line ");
        const auto end = prefix == std::string::npos ? prefix : line.find("] ", prefix);
        if (end != std::string::npos && line.find(word, end) != std::string::npos) {
            result.push_back(line.substr(end + 2));
        }
    }
    return result;
}

/// A bundle with a candidate for every reason to refuse one, and what the log says about each, in order.
struct Candidates {
    AppBundle bundle;
    std::vector<std::pair<std::string, std::string>> refused; // path, a word of the reason

    Candidates() {
        std::vector<std::string> paths{bundle.folder() / "missing",
                                       bundle.folder().write("file", "no runtime"),
                                       bundle.folder().makeDirectory("empty"),
                                       bundle.addRuntime("old.jdk", "1.8.0_202"),
                                       bundle.addRuntime("new.jdk", "21.0.1"),
                                       bundle.addRuntime("early.jdk", "17-ea"),
                                       bundle.addRuntime("foreign.jdk", "17.0.9", "com.example.other")};
        refused = {{"NO_SUCH_VARIABLE", "not set"}, {paths[0], "exist"},
                   {paths[1], "directory"},         {paths[2], "no version"},
                   {paths[3], "1.8.0_202"},         {paths[4], "21.0.1"},
                   {paths[5], "pre-release"},       {paths[6], "com.example.other"}};
        std::string sequence = text("ENO_SUCH_VARIABLE") + text("") + text("zunknown kind");
        for (const std::string &path : paths) {
            sequence += text("R" + path);
        }
        bundle.javaVM["SearchSequence"] = array({sequence, text("R" + bundle.runtime())});
        bundle.folder().write("Test.vmoptions", ""); // else it is refused as well
        bundle.info["ksv.minVersion"] = text("17");
        bundle.info["ksv.maxVersion"] = text("17.0");
        bundle.info["ksv.vmIdPrefix"] = text("org.example");
    }
};

TEST(Log, TellsWhichCandidatesWereRefusedAndWhy) {
    const Candidates candidates;
    Launch run(candidates.bundle, {.arguments = {"an argument"}, .environment = {{"KESTRAV_LOG", "yes"}}});
    EXPECT_EQ(run.wait(), 0);
    const std::string log = run.errors();

    std::vector<testing::Matcher<std::string>> refusals;
    for (const auto &[path, reason] : candidates.refused) {
        refusals.push_back(testing::AllOf(testing::StartsWith("rejected " + path + ": "), HasSubstr(reason)));
    }
    EXPECT_THAT(messages(log, "rejected "), ElementsAreArray(refusals)) << log;

    for (const std::string &line : {std::string("int main(int, char **) [Line "), std::string("] app started 2\n"),
                                    std::string("] arg an argument\n"), std::string("] worker started\n"),
                                    std::string("] searching for public JREs\n"),
                                    std::string("-[Launcher findJavaBundle:] [Line 646] checking directory " +
                                                candidates.bundle.runtime() + "\n"),
                                    std::string("] cl arg: an argument \n"), std::string("] args: (\n")}) {
        EXPECT_THAT(log, HasSubstr(line));
    }
}

TEST(Log, IsWrittenForTheOneValueOnly) {
    const Candidates candidates;
    Launches runs;
    for (const char *value : {"", "no", "YES", "yes ", "1"}) {
        runs.push_back(std::make_unique<Launch>(candidates.bundle, Start{.environment = {{"KESTRAV_LOG", value}}}));
    }
    runs.push_back(std::make_unique<Launch>(candidates.bundle));
    for (const auto &run : runs) {
        EXPECT_EQ(run->wait(), 0);
        EXPECT_EQ(run->errors(), "");
        EXPECT_EQ(run->output(), "");
    }
}

TEST(Log, RefusalsLeaveNoRuntimeAndOneNotice) {
    Candidates candidates;
    candidates.bundle.info["ksv.minVersion"] = text("99");
    Launch run(candidates.bundle);
    EXPECT_EQ(run.wait(), 1);
    EXPECT_EQ(run.errors(), "Test: no runtime: 99, Test\n");
    EXPECT_FALSE(run.childStarted());
}

TEST(Log, NoticesComeFromTheConfiguredMessages) {
    AppBundle bundle;
    bundle.javaVM["SearchSequence"] = array({});
    bundle.info["CFBundleName"] = text("Täst");
    bundle.info["ksv.minVersion"] = text("99");
    bundle.info["ksv.baseDir"] = text("$APP_PACKAGE/Contents/Resources/app");
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
    EXPECT_THAT(messages(untold.errors(), "message"),
                testing::ElementsAre("message AppleJavaMinVersionError not found"));
    EXPECT_THAT(untold.errors(), testing::Not(HasSubstr("Täst: ")));
}

} // namespace
} // namespace kestrav::tests
