// In-process mode: a real runtime runs a real Java program, and a launch library of the tests shows what the real one
// does not reveal.

#include "Launch.h"
#include "mac_installer/bootstrap/obtaining.h"
#include "mac_installer/launcher_main.h"
#include "support/LoopbackServer.h"

#include <gmock/gmock.h>

#include <atomic>
#include <csignal>
#include <regex>
#include <utility>

namespace kestrav::tests {
namespace {

using namespace std::string_literals;
using testing::EndsWith;
using testing::HasSubstr;
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
        std::string output; // how it begins
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

TEST_F(InProcess, AnApplicationThatWantsToBeOneProcessIsTheJavaProgram) {
    std::string library = contentOf(KESTRAV_TEST_JLI "/COMPLETE/libjli.so");
    library.resize(library.size() / 2);
    bundle.folder().write("cut/Contents/Home/lib/libjli.so", library);
    const std::string cut = bundle.addRuntime("cut");
    library[18] = static_cast<char>(library[18] ^ 1); // the machine in an ELF header
    bundle.folder().write("foreign/Contents/Home/lib/libjli.so", library);
    const std::string foreign = bundle.addRuntime("foreign");
    bundle.info["ksv.inProcess"] = true;
    bundle.javaVM = {{"MainClass", mainClass},
                     {"ClassPath", jar},
                     {"VMOptionArray", Array{"-Dprogram.property=a b"}},
                     {"SearchSequence", Array{"R" + bundle.runtime(), "R" + cut, "R" + foreign, "R" KESTRAV_JDK}}};
    const Terminal terminal;
    Launch run(bundle, {.arguments = {"-q", "wait"},
                        .environment = {{"KESTRAV_LOG", "yes"}, {"LC_ALL", "C.UTF-8"}},
                        .terminal = terminal.slave()});
    waitUntil([&] { return run.output().ends_with("waiting\n"); }, "the Java program");
    EXPECT_THAT(contentOf("/proc/" + std::to_string(run.pid()) + "/maps"), HasSubstr("/libjvm.so"));
    terminal.type("\x03");
    EXPECT_EQ(run.wait(), 128 + SIGINT);
    EXPECT_THAT(run.output(), StartsWith("argument -q\nargument wait\nproperty a b\n"));
    EXPECT_THAT(run.output(), EndsWith("waiting\nhook\n"));
    for (const std::string &refusal : {bundle.runtime() + ": it has no launch library (libjli)\n",
                                       cut + ": its launch library (libjli) is cut off\n",
                                       foreign + ": its launch library has no code for this process's processor\n"}) {
        EXPECT_THAT(run.errors(), HasSubstr("rejected " + refusal));
    }

    bundle.javaVM["SearchSequence"] = Array{"R" + foreign};
    Launch missing(bundle);
    expectRefusal(missing, foreign + ": its launch library");
    bundle.addRuntime(bundle.path() + "/Contents/PlugIns/jre.bundle");
    Launch own(bundle);
    expectRefusal(own, "internal error: Could not load JRE");
    // What has to be extracted first runs as a child.
    bundle.folder().write("Test.app/Contents/Resources/app/jre.tar.gz", runtimeBundle().closed());
    Launch child(bundle);
    EXPECT_TRUE(child.report().has(mainClass));
}

/// True while a process of the bundle obtains a runtime for another one.
bool isObtaining(const std::string &executable) {
    for (const auto &entry : fs::directory_iterator("/proc")) {
        if (contentOf(entry.path() / "cmdline") == executable + '\0' + obtainRuntimeMarker + '\0') {
            return true;
        }
    }
    return false;
}

TEST_F(InProcess, ASecondProcessObtainsTheRuntimeThatIsKept) {
    const std::string archive =
        gzip(runtimeBundle()
                 .directory("Contents/Home/lib/")
                 .file("Contents/Home/lib/libjli.so", contentOf(KESTRAV_TEST_JLI "/COMPLETE/libjli.so"))
                 .closed());
    std::atomic<bool> complete = false;
    const LoopbackServer server([&](Connection &connection) {
        static_cast<void>(connection.readRequest());
        const std::string answer = ok(archive);
        connection.send(complete ? answer : answer.substr(0, answer.size() / 2));
        connection.waitForEnd();
    });
    bundle.javaVM["SearchSequence"] = Array{"R" + bundle.runtime()}; // which has no launch library
    bundle.info["ksv.inProcess"] = true;
    bundle.info["ksv.keepRuntime"] = true;
    bundle.info["ksv.jreLocation"] = server.url("/jre");
    const std::string cache = bundle.folder() / "cache";
    Start start{.environment = {{"XDG_CACHE_HOME", cache}, {"KESTRAV_LOG", "yes"}, {"TEST_JLI_STATUS", "9"}}};
    for (const int number : {SIGTERM, SIGKILL}) {
        Launch ended(bundle, start);
        waitUntil([&] { return ended.errors().find("waiting for download") != std::string::npos; }, "the download");
        EXPECT_TRUE(isObtaining(bundle.executable()));
        ended.sendSignal(number);
        if (number == SIGTERM) {
            EXPECT_EQ(ended.wait(), 1) << ended.errors();
            EXPECT_EQ(ended.output(), "");
        }
        waitUntil([&] { return !isObtaining(bundle.executable()); }, "the end of the second process");
        EXPECT_TRUE(ended.leftNothing());
    }
    complete = true;
    const std::string dead = bundle.folder() / "temporary/01234567-0123-0123-0123-0123456789AB-1-2-3";
    bundle.folder().write("temporary/" + fs::path(dead).filename().string() + "/.kestrav-lock", "");
    for (const bool obtains : {true, false}) {
        start.environment["TMPDIR"] = bundle.folder() / "temporary";
        Launch run(bundle, start);
        EXPECT_EQ(run.wait(), 9) << run.errors();
        EXPECT_FALSE(fs::exists(dead)); // what a killed run has left
        EXPECT_THAT(run.output(), HasSubstr("\n-Dksv.jreBundle=" + cache + "/kestrav/runtimes/"));
        EXPECT_EQ(run.errors().find("arg __ksv_obtain_runtime") != std::string::npos, obtains) << run.errors();
    }
    Journal journal;
    Start unseen = journal.start("");
    unseen.environment.merge(std::map(start.environment));
    unseen.environment["KESTRAV_LOG"] = "";
    Launch told(bundle, unseen);
    EXPECT_EQ(told.wait(), 9);
    EXPECT_THAT(journal.text(), StartsWith("Test: Test returned 9\n/"));
    bundle.info["ksv.runtimeCache"] = "/proc/none"; // the program is a child, which has a launch library as well
    Launch child(bundle, start);
    EXPECT_TRUE(child.report().has("org.example.Main"));
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
        // The last number does not matter here.
        EXPECT_EQ(std::regex_replace(run.output(), std::regex("; [0-9]+\n"), "; "),
                  "init 1 0\n" + once + once + (value == "11"s ? once : ""))
            << variable;
        EXPECT_EQ(run.errors(), "");
        EXPECT_TRUE(fs::exists(other));
    }
}

} // namespace
} // namespace kestrav::tests
