#include "platform/Exception.h"
#include "platform/FileManager.h"
#include "platform/Machine.h"
#include "platform/Reexecution.h"
#include "support/LauncherFixture.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <filesystem>
#include <utility>

namespace kestrav::tests {
namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;

class LauncherStart : public LauncherFixture {
protected:
    LauncherStart() {
        launchGlobals.JLI_LaunchFxnPtr = nullptr;
        launchGlobals.argc = 0;
        launchGlobals.argv = nullptr;
    }
    ~LauncherStart() override {
        launchGlobals.JLI_LaunchFxnPtr = nullptr;
        static_cast<void>(platform::takeReexecution());
    }

    /// Loads an argument file of this content.
    void load(const std::string &content, const char *program = "program") {
        launcher.loadFromArgumentFile(program, directory.write("arguments", content).c_str());
    }

    /// Puts a launch library below a runtime and returns the runtime.
    std::string addLibrary(const std::string &runtime, const std::string &place = "lib/libjli.so",
                           const std::string &variant = "COMPLETE") {
        const fs::path file = fs::path(runtime) / place;
        fs::create_directories(file.parent_path());
        fs::create_symlink(KESTRAV_TEST_JLI "/" + variant + "/libjli.so", file);
        return runtime;
    }

    /// The vector without entry 0.
    static Strings arguments() {
        EXPECT_EQ(launchGlobals.argv[launchGlobals.argc], nullptr);
        return {launchGlobals.argv + 1, launchGlobals.argv + launchGlobals.argc};
    }

    /// Launches and returns what the launch library was given.
    std::string launchOutput() {
        testing::internal::CaptureStdout();
        EXPECT_EQ(launcher.launch(), 0);
        return testing::internal::GetCapturedStdout();
    }
};

TEST_F(LauncherStart, ArgumentFileIsReadByLinesAndDeleted) {
    struct Case {
        std::string content;
        OptionalText path;
        Strings arguments;
    };
    const Case cases[] = {
        {"/opt/rt/jre.bundle\n-Xmx1g\nMain\narg", "/opt/rt/jre.bundle", {"-Xmx1g", "Main", "arg"}},
        {"/rt\nMain\n", "/rt", {"Main", ""}},
        {"\xEF\xBB\xBF/r t\n# no comment \r\n\n\"ä\"\\n\u2028x", "/r t", {"# no comment \r", "", "\"ä\"\\n\u2028x"}},
        {"/r\0t\nMa\0in\n\0"s, "/r", {"Ma", ""}},
        {"", std::nullopt, {}},
        {"/rt\nMain\n\xFF", std::nullopt, {}},
    };
    for (const auto &[content, path, expected] : cases) {
        launcher.runtime.reset();
        load(content);
        EXPECT_FALSE(fs::exists(directory / "arguments")) << content;
        ASSERT_EQ(launcher.runtime ? OptionalText(launcher.runtime->javaBundlePath) : std::nullopt, path) << content;
        if (path) {
            EXPECT_STREQ(launchGlobals.argv[0], "program");
            EXPECT_EQ(arguments(), expected) << content;
        }
    }
}

TEST_F(LauncherStart, LibraryIsGivenTheVectorAndTheVersion) {
    load(addLibrary(makeRuntime("rt", "17.0.9+9")) + "\n-Xint\nMain\n");
    EXPECT_THAT(launchOutput(),
                testing::StartsWith("program\n-Xint\nMain\n\nnull; 0 0 0 0; 17.0.9 17.0.9 java java; 0 0 0 0; "));
    const auto defaults = platform::contentsOfFile(directory / "home/.config/kestrav/Tool.plist");
    EXPECT_THAT(defaults.value_or(""), AllOf(HasSubstr("AppleWindowTabbingMode"), HasSubstr("<string>manual<")));

    // A runtime without a version, with a relative path: it is not searched for, and it is kept for another execution,
    // which may have another working directory.
    addLibrary(directory.makeDirectory("bare"));
    fs::current_path(directory.path());
    load("bare\nMain");
    EXPECT_THAT(launchOutput(), HasSubstr("; 1.7.0 1.7.0 java java;"));
    setenv("LD_LIBRARY_PATH", "/changed", 1);
    const auto kept = platform::takeReexecution();
    unsetenv("LD_LIBRARY_PATH");
    ASSERT_TRUE(kept);
    EXPECT_EQ(kept->libraryPath, directory / "bare/lib/libjli.so");
}

TEST_F(LauncherStart, TheProgramsLanguageIsExported) {
    const std::string runtime = makeRuntime("rt", "17");
    configure({{"JavaVM", Dictionary{{"MainClass", "Main"}, {"SearchSequence", Array{"R" + runtime}}}}});
    setEnvironment({{"LANG", "xx_YY.UTF-8"}}); // changes only the process's own copy, which the runtime does not read
    unsetenv("LANG");
    launcher.load("program");
    EXPECT_STREQ(std::getenv("LANG"), "xx_YY.UTF-8");
    EXPECT_EQ(arguments().back(), "Main");
    unsetenv("LANG");
}

TEST_F(LauncherStart, LibraryIsTheFirstOfItsPlaces) {
    const std::string runtime = makeRuntime("rt", "17");
    load(runtime + "\nMain");
    // The places from the last to the first.
    Strings folders{"lib", "lib/jli", "Contents/Home/lib", "Contents/Home/lib/jli", "Contents/Home/jre/lib/jli"};
    if (const std::string processor(platform::processorFolder()); !processor.empty()) {
        for (const std::string above : {"Contents/Home/jre/", "Contents/Home/", "jre/", ""}) {
            folders.insert(folders.begin(), above + "lib/" + processor + "/jli");
        }
    }
    for (const std::string &folder : folders) {
        for (const char *name : {"/libjli.so", "/libjli.dylib"}) {
            addLibrary(runtime, folder + name);
            log.clear();
            EXPECT_THAT(launchOutput(), HasSubstr("Main\n"));
            EXPECT_THAT(logged("load library"), ElementsAre("load library " + runtime + "/" + folder + name + "."));
        }
    }

    // The browser plug-in has a place of its own.
    launcher.runtime->pluginUsed = true;
    EXPECT_THROW(static_cast<void>(launcher.launch()), platform::Exception);
    EXPECT_THAT(logged("Could not load JRE /"), ElementsAre(HasSubstr("lib/jli/libjli.dylib: ")));
    addLibrary(directory / "root/Library/Internet Plug-Ins/JavaAppletPlugin.plugin",
               "Contents/Home/lib/jli/libjli.dylib");
    EXPECT_THAT(launchOutput(), HasSubstr("Main\n"));
}

TEST_F(LauncherStart, LibraryExpandsArgumentFiles) {
    const std::string runtime = addLibrary(makeRuntime("rt", "17"));
    struct Case {
        const char *program;
        const char *lines;
        const char *output;
        int allocations; // the list, its elements and one per entry: everything that was expanded is freed
    };
    const Case cases[] = {
        {"program", "-cp\n@a\nMain\n@", "init 1 0\nprogram\n-cp\na-1\na-2\nMain\n", 7},
        {"@program", "Main", "init 1 0\n@program\nMain\n", 4},
        {"program", "Main\na@b\n @c", "program\nMain\na@b\n @c\n", 0},
    };
    load(runtime + "\nMain");
    const auto allocatedBy = [](const std::string &all) { return std::stoi(all.substr(all.rfind(' '))); };
    int allocated = allocatedBy(launchOutput()); // earlier launches count
    for (const auto &[program, lines, output, allocations] : cases) {
        load(runtime + "\n" + lines, program);
        log.clear();
        const std::string all = launchOutput();
        EXPECT_TRUE(all.starts_with(output + "null;"s)) << all;
        const int before = std::exchange(allocated, allocatedBy(all));
        EXPECT_EQ(allocated - before, allocations) << all;
        EXPECT_EQ(wasLogged("@ argument found"), allocations != 0);
    }

    load(addLibrary(directory.makeDirectory("none"), "lib/libjli.so", "WITHOUT_LAUNCH") + "\nMain");
    EXPECT_THROW(static_cast<void>(launcher.launch()), platform::Exception);
    // A library without the functions for that leaves the arguments alone.
    load(addLibrary(directory.makeDirectory("old"), "lib/libjli.so", "WITHOUT_MEM_FREE") + "\nMain\n@file");
    EXPECT_THAT(launchOutput(), HasSubstr("program\nMain\n@file\nnull;"));
    EXPECT_THAT(logged("did not find"),
                ElementsAre(testing::MatchesRegex("did not find all list functions (0x[0-9a-f]+ ){5}0x0")));
}

} // namespace
} // namespace kestrav::tests
