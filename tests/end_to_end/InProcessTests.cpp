// In-process mode: a real runtime runs a real Java program, and a launch library of the tests shows what that one does
// not tell.

#include "Launch.h"
#include "mac_installer/launcher_main.h"

#include <gmock/gmock.h>

#include <csignal>
#include <regex>
#include <utility>

namespace kestrav::tests {
namespace {

using namespace std::string_literals;
using testing::EndsWith;
using testing::StartsWith;

class InProcess : public testing::Test {
protected:
    /// The command line for an argument file of these lines, the first being the runtime.
    Start fromFile(const std::vector<std::string> &lines, std::map<std::string, std::string> environment = {}) {
        std::string content;
        for (const std::string &line : lines) {
            content += content.empty() ? line : "\n" + line;
        }
        const std::string file = bundle.folder().write("arguments " + std::to_string(++files), content);
        environment.emplace("LC_ALL", "C.UTF-8");
        // The runtime handles its own memory faults.
        environment.emplace("ASAN_OPTIONS", "abort_on_error=1:detect_leaks=0:handle_segv=0:allow_user_segv_handler=1");
        return {.arguments = {invokeOtherMarker, file}, .environment = std::move(environment)};
    }

    /// The bundle's runtime, with a launch library of the tests.
    std::string testRuntime() const {
        linkFile(KESTRAV_TEST_JLI "/COMPLETE/libjli.so", bundle.runtime() + "/Contents/Home/lib/libjli.so");
        return bundle.runtime();
    }

    AppBundle bundle;

private:
    int files = 0;
};

constexpr const char *jar = KESTRAV_PROGRAM_JAR;
constexpr const char *mainClass = "org.example.program.Main";

TEST_F(InProcess, JavaProgramRunsAsUnderTheRuntimesOwnCommand) {
    const std::string options = bundle.folder().write(
        "options", "# a comment\n-cp \"" + std::string(jar) + "\" # another\n\"-Dprogram.property='q' \\\"Q\\\"\"\n");
    const std::string javaBundle = bundle.folder().makeDirectory("Ein JDK.jdk");
    fs::create_directories(javaBundle + "/Contents");
    fs::create_directory_symlink(KESTRAV_JDK, javaBundle + "/Contents/Home");
    // Another runtime's folder in the search path makes the runtime execute the file again, to put its own before it.
    const std::string other = bundle.folder().makeDirectory("other/lib/server");
    fs::create_symlink(KESTRAV_JDK "/lib/server/libjvm.so", other + "/libjvm.so");
    struct Case {
        std::vector<std::string> lines;
        int status;
        std::string output; // its beginning
    };
    const Case cases[] = {
        {{KESTRAV_JDK, "-Dprogram.property=a b", "-cp", jar, mainClass, "@@a", "", "two words", "täxt", "a\r", "-cp",
          "exit 255"},
         255,
         "argument @a\nargument \nargument two words\nargument täxt\nargument a<CR>\nargument -cp\nargument exit 255\n"
         "property a b\nmodule null\nlibrary path " KESTRAV_JDK "/lib/server:"},
        {{javaBundle, "-p", jar, "-m", "org.example.program", "exit 3"},
         3,
         "argument exit 3\nproperty null\nmodule org.example.program\n"},
        {{KESTRAV_JDK, "@" + options, mainClass, "throw"}, 1, "argument throw\nproperty 'q' \"Q\"\n"},
    };
    for (const auto &[lines, status, output] : cases) {
        Launch run(bundle, fromFile(lines, {{"LD_LIBRARY_PATH", other}}));
        EXPECT_EQ(run.wait(), status) << run.errors();
        EXPECT_THAT(run.output(), StartsWith(output));
        EXPECT_EQ(run.errors().empty(), status != 1) << run.errors();
    }
}

TEST_F(InProcess, JavaProgramHasTheSignals) {
    Launch waiting(bundle, fromFile({KESTRAV_JDK, "-cp", jar, mainClass, "wait"}));
    waitUntil([&] { return waiting.output().ends_with("waiting\n"); }, "the Java program");
    waiting.sendSignal(SIGTERM);
    EXPECT_EQ(waiting.wait(), 128 + SIGTERM);
    EXPECT_THAT(waiting.output(), EndsWith("waiting\nhook\n"));
}

TEST_F(InProcess, LibraryMayEnterMainAgainOrExecuteTheFileAgain) {
    const std::string runtime = testRuntime();
    const std::string other = bundle.folder().write("kept", "");
    for (const auto &[variable, value] :
         {std::pair{"TEST_JLI_ENTER_MAIN", "1"}, {"TEST_JLI_EXECUTE", "1"}, {"TEST_JLI_EXECUTE", "11"}}) {
        Launch run(bundle, fromFile({runtime, invokeOtherMarker, other, "@a", "", "two words"},
                                    {{variable, value}, {"TEST_JLI_STATUS", "9"}}));
        EXPECT_EQ(run.wait(), 9) << run.errors();
        const std::string once = bundle.executable() + "\n" + invokeOtherMarker + "\n" + other +
                                 "\na-1\na-2\n\ntwo words\nnull; 0 0 0 0; 17.0.9 17.0.9 java java; 0 0 0 0; ";
        // The last number is of no matter here.
        EXPECT_EQ(std::regex_replace(run.output(), std::regex("; [0-9]+\n"), "; "),
                  "init 1 0\n" + once + once + (value == "11"s ? once : ""))
            << variable;
        EXPECT_EQ(run.errors(), "");
        EXPECT_TRUE(fs::exists(other));
    }
}

} // namespace
} // namespace kestrav::tests
