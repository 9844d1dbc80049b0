// In-process mode: a real runtime runs a real Java program, and a launch library of the tests shows what that one does
// not tell.

#include "Launch.h"
#include "mac_installer/launcher_main.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <filesystem>
#include <sstream>

namespace kestrav::tests {
namespace {

namespace fs = std::filesystem;
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

    /// The JDK as a runtime bundle.
    std::string runtimeBundle() const {
        std::string runtime = bundle.folder().makeDirectory("Ein JDK.jdk");
        bundle.folder().write("Ein JDK.jdk/Contents/Info.plist",
                              propertyList(dictionary({{"JavaVM", dictionary({{"JVMVersion", text("17.0.1")}})}})));
        fs::create_directory_symlink(KESTRAV_JDK, runtime + "/Contents/Home");
        return runtime;
    }

    /// The bundle's runtime, with a launch library of the tests.
    std::string testRuntime(const std::string &variant = "COMPLETE") const {
        linkFile(KESTRAV_TEST_JLI "/" + variant + "/libjli.so", bundle.runtime() + "/Contents/Home/lib/libjli.so");
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
    const std::string javaBundle = runtimeBundle();
    struct Case {
        std::vector<std::string> lines;
        int status;
        std::string output; // its beginning
    };
    const Case cases[] = {
        {{KESTRAV_JDK, "-Dprogram.property=a b", "-cp", jar, mainClass, "", "two words", "täxt", "a\r", "-cp",
          "exit 255"},
         255,
         "argument \nargument two words\nargument täxt\nargument a<CR>\nargument -cp\nargument exit 255\n"
         "property a b\nmodule null\nlibrary path null\n"},
        {{javaBundle, "-p", jar, "-m", "org.example.program", "exit 3"},
         3,
         "argument exit 3\nproperty null\nmodule org.example.program\n"},
        {{javaBundle, "-jar", jar, "halt"}, 77, "argument halt\nproperty null\nmodule null\nlibrary path null\n"},
        {{KESTRAV_JDK, "@" + options, mainClass, "throw"}, 1, "argument throw\nproperty 'q' \"Q\"\n"},
        {{javaBundle, "-Dprogram.property=x", "-jar", jar}, 0, "property x\n"},
        {{KESTRAV_JDK, "-cp", jar, "no.such.Main"}, 1, ""},
    };
    for (const auto &[lines, status, output] : cases) {
        Launch run(bundle, fromFile(lines));
        EXPECT_EQ(run.wait(), status) << run.errors();
        EXPECT_THAT(run.output(), StartsWith(output));
        EXPECT_EQ(run.errors().empty(), status != 1) << run.errors();
    }
}

TEST_F(InProcess, JavaProgramHasStreamsAndSignals) {
    std::array<int, 2> input{};
    ASSERT_EQ(pipe(input.data()), 0);
    Start copying = fromFile({KESTRAV_JDK, "-cp", jar, mainClass, "copy"});
    copying.standardInput = input[0];
    Launch copy(bundle, copying);
    Launch waiting(bundle, fromFile({KESTRAV_JDK, "-cp", jar, mainClass, "wait"}));
    close(input[0]);
    const std::string typed("typed\r\n\0\xFF bytes", 15);
    ASSERT_EQ(write(input[1], typed.data(), typed.size()), static_cast<ssize_t>(typed.size()));
    close(input[1]);
    EXPECT_EQ(copy.wait(), 0) << copy.errors();
    EXPECT_THAT(copy.output(), EndsWith(typed));

    waitUntil([&] { return waiting.output().ends_with("waiting\n"); }, "the Java program");
    waiting.sendSignal(SIGTERM);
    EXPECT_EQ(waiting.wait(), 128 + SIGTERM);
    EXPECT_THAT(waiting.output(), EndsWith("waiting\nhook\n"));
}

TEST_F(InProcess, JavaProgramRunsOnceWhenTheRuntimeExecutesTheFileAgain) {
    // Another runtime's folder in the search path makes this one put its own before it.
    const std::string other = bundle.folder().makeDirectory("other/lib/server");
    fs::create_symlink(KESTRAV_JDK "/lib/server/libjvm.so", other + "/libjvm.so");
    const Start start =
        fromFile({KESTRAV_JDK, "-cp", jar, mainClass, "@@a \"b\"", "", "exit 4"}, {{"LD_LIBRARY_PATH", other}});
    Launch run(bundle, start);
    EXPECT_EQ(run.wait(), 4) << run.errors();
    EXPECT_THAT(run.output(), StartsWith("argument @a \"b\"\nargument \nargument exit 4\nproperty null\nmodule null\n"
                                         "library path " KESTRAV_JDK "/lib/server:"));
    EXPECT_THAT(run.output(), EndsWith(other + "\n"));
}

TEST_F(InProcess, ConfiguredRuntimeIsLoaded) {
    fs::remove(bundle.executable());
    linkFile(KESTRAV_LOAD_MAIN, bundle.executable());
    const std::string runtime = runtimeBundle();
    bundle.javaVM["SearchSequence"] = array({text("R" + runtime)});
    bundle.javaVM["MainClass"] = text(mainClass);
    bundle.javaVM["ClassPath"] = text(jar);
    bundle.javaVM["VMOptionArray"] = array({text("-Dprogram.property=${launcher:sys.jvmHome}")});
    Start start = fromFile({});
    start.arguments = {"täxt", "exit 5"};
    Launch run(bundle, start);
    EXPECT_EQ(run.wait(), 5) << run.errors();
    EXPECT_EQ(run.output(), "argument täxt\nargument exit 5\nproperty " + runtime +
                                "/Contents/Home\nmodule null\nlibrary path null\n");

    bundle.javaVM.erase("MainClass");
    Launch incomplete(bundle, start);
    expectRefusal(incomplete, "internal error: no MainClass");
}

TEST_F(InProcess, EveryStatusComesBack) {
    const std::string runtime = testRuntime();
    for (const int status : {0, 1, 2, 77, 127, 128, 143, 254, 255}) {
        Launch run(bundle, fromFile({runtime, "Main"}, {{"TEST_JLI_STATUS", std::to_string(status)}}));
        EXPECT_EQ(run.wait(), status) << run.errors();
    }
}

TEST_F(InProcess, LibraryMayEnterMainAgainOrExecuteTheFileAgain) {
    const std::string runtime = testRuntime();
    const std::string other = bundle.folder().write("kept", "");
    const std::pair<const char *, const char *> cases[] = {{"TEST_JLI_ENTER_MAIN", invokeOtherMarker},
                                                           {"TEST_JLI_ENTER_MAIN", "-Xint"},
                                                           {"TEST_JLI_EXECUTE", invokeOtherMarker},
                                                           {"TEST_JLI_EXECUTE", "-Xint"}};
    for (const auto &[variable, first] : cases) {
        Launch run(bundle, fromFile({runtime, first, other, "@a", "", "two words"},
                                    {{variable, "1"}, {"TEST_JLI_STATUS", "9"}}));
        EXPECT_EQ(run.wait(), 9) << run.errors();
        const std::string once = bundle.executable() + "\n" + first + "\n" + other +
                                 "\na-1\na-2\n\ntwo words\nnull; 0 0 0 0; 17.0.9 17.0.9 java java; 0 0 0 0; ";
        const std::string output = run.output();
        EXPECT_THAT(output, StartsWith("init 1 0\n" + once)) << variable;
        const auto second = output.find(once, output.find(once) + 1);
        ASSERT_NE(second, std::string::npos) << output;
        EXPECT_EQ(output.find('\n', second + once.size()), output.size() - 1) << output;
        EXPECT_EQ(run.errors(), "");
        EXPECT_TRUE(fs::exists(other));
    }
}

TEST_F(InProcess, NoOtherLibrariesAreOpened) {
    Launch run(bundle, fromFile({testRuntime(), "Main"}, {{"TEST_JLI_LIBRARIES", "1"}}));
    EXPECT_EQ(run.wait(), 0) << run.errors();
    const std::string output = run.output();
    std::vector<std::string> allowed{"/libc.so",         "/libm.so",   "/ld-linux", "/libz.so",
                                     "/libplist-2.0.so", "/libjli.so", "linux-vdso"};
#ifdef __SANITIZE_ADDRESS__
    allowed.insert(allowed.end(), {"/libasan.so", "/libubsan.so", "/libstdc++.so", "/libgcc_s.so", "/libdl.so",
                                   "/librt.so", "/libpthread.so"});
#endif
    std::istringstream lines(output.substr(output.find("null;")));
    std::string line;
    std::getline(lines, line);
    int libraries = 0;
    while (std::getline(lines, line)) {
        const bool known = line.empty() || std::any_of(allowed.begin(), allowed.end(), [&](const std::string &name) {
                               return line.find(name) != std::string::npos;
                           });
        EXPECT_TRUE(known) << line;
        ++libraries;
    }
    EXPECT_GE(libraries, 4);
}

TEST_F(InProcess, FailuresAreNoticesAndStatusOne) {
    const auto refuse = [&](const std::vector<std::string> &lines, const std::string &message) {
        Launch run(bundle, fromFile(lines));
        expectRefusal(run, message);
        EXPECT_EQ(run.output(), "");
        const bool logged = run.errors().find("int launcher_main(int, char **) [Line ") != std::string::npos;
        EXPECT_EQ(logged, message.starts_with("internal error")) << run.errors();
    };
    const std::string notLoaded = "internal error: Could not load JRE.";
    refuse({bundle.runtime(), "Main"}, notLoaded);
    refuse({"/no/such/runtime", "Main"}, notLoaded);
    refuse({bundle.runtime()}, "no runtime: ");

    const std::string library = bundle.runtime() + "/Contents/Home/lib/libjli.so";
    std::string image = contentOf(KESTRAV_TEST_JLI "/COMPLETE/libjli.so");
    const std::string sound = image;
    image[18] ^= 1; // e_machine: another architecture
    for (const std::string &content : {image, std::string("no library"), std::string(), sound.substr(0, 100)}) {
        bundle.folder().write("installed.jdk/Contents/Home/lib/libjli.so", content);
        refuse({bundle.runtime(), "Main"}, notLoaded);
        fs::remove(library);
    }
    testRuntime("WITHOUT_LAUNCH");
    refuse({bundle.runtime(), "Main"}, "internal error: Could not get function pointer for JLI_Launch.");
}

} // namespace
} // namespace kestrav::tests
