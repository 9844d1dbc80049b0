#include "mac_installer/launcher_main.h"
#include "platform/Exception.h"
#include "platform/FileManager.h"
#include "platform/Reexecution.h"
#include "support/LauncherFixture.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <filesystem>
#include <unistd.h>

namespace kestrav::tests {
namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr const char *missing = "no such file";

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

    std::string argumentFile(std::string_view content) { return directory.write("arguments", content); }

    /// Puts a launch library below a runtime and returns the runtime.
    std::string addLibrary(const std::string &runtime, const std::string &place = "Contents/Home/lib/libjli.so",
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
    std::string launchOutput(int expectedStatus = 0) {
        testing::internal::CaptureStdout();
        const int status = launcher.launch();
        std::string output = testing::internal::GetCapturedStdout();
        EXPECT_EQ(status, expectedStatus);
        return output;
    }

    /// What `launch` raises, "NAME: REASON".
    std::string launchFailure() {
        try {
            return "status " + std::to_string(launcher.launch());
        } catch (const platform::Exception &exception) {
            return exception.name() + ": " + exception.reason();
        }
    }

    /// Starts in-process mode as `main` does.
    int launcherMain(Strings entries) {
        std::vector<char *> argv;
        for (std::string &entry : entries) {
            argv.push_back(entry.data());
        }
        argv.push_back(nullptr);
        return launcher_main(static_cast<int>(entries.size()), argv.data());
    }
};

TEST_F(LauncherStart, ArgumentFileIsReadByLinesAndDeleted) {
    struct Case {
        std::string content;
        OptionalText path;
        Strings arguments;
    };
    const Case cases[] = {
        {"/opt/rt/jre.bundle\n-Xmx1g\ncom.example.Main\narg",
         "/opt/rt/jre.bundle",
         {"-Xmx1g", "com.example.Main", "arg"}},
        {"/rt\nMain\n", "/rt", {"Main", ""}},
        {"/rt\n", "/rt", {""}},
        {"\xEF\xBB\xBF/r t\n# no comment \r\n\n\"ä\"\\n\u2028x", "/r t", {"# no comment \r", "", "\"ä\"\\n\u2028x"}},
        {"/r\0t\nMa\0in\n\0"s, "/r", {"Ma", ""}},
        {"/rt", std::nullopt, {}},
        {"", std::nullopt, {}},
        {"/rt\nMain\n\xFF", std::nullopt, {}},
        {missing, std::nullopt, {}},
    };
    for (const auto &[content, path, expected] : cases) {
        const std::string file = content == missing ? directory / missing : argumentFile(content);
        launcher.javaBundlePath.reset();
        launcher.loadFromArgumentFile("program", file.c_str());
        EXPECT_FALSE(fs::exists(file)) << content;
        ASSERT_EQ(launcher.javaBundlePath, path) << content;
        if (path) {
            EXPECT_STREQ(launchGlobals.argv[0], "program");
            EXPECT_EQ(arguments(), expected) << content;
        }
    }
}

TEST_F(LauncherStart, ArgumentFileThatIsNoFileIsLeftAlone) {
    const std::string folder = directory.makeDirectory("folder");
    const std::string device = directory / "device";
    fs::create_symlink("/dev/null", device);
    fs::create_directory_symlink(folder, directory / "link");
    for (const std::string &path : {folder, device, directory / "link"}) {
        launcher.loadFromArgumentFile("program", path.c_str());
        EXPECT_TRUE(fs::exists(path)) << path;
        EXPECT_EQ(launcher.javaBundlePath, std::nullopt);
    }
}

TEST_F(LauncherStart, ArgumentFileMayBeLarge) {
    launchGlobals.logStatus = 2;
    std::string content = "/rt";
    for (int i = 0; i < 100'000; ++i) {
        content += "\n" + std::string(100, 'x');
    }
    launcher.loadFromArgumentFile("program", argumentFile(content).c_str());
    EXPECT_EQ(launchGlobals.argc, 100'001);
    EXPECT_EQ(arguments().back(), std::string(100, 'x'));
}

TEST_F(LauncherStart, LibraryIsGivenTheVectorAndTheVersion) {
    const std::string runtime = addLibrary(makeRuntime("rt", "17.0.9+9"));
    launcher.loadFromArgumentFile("program", argumentFile(runtime + "\n-Xint\nMain\n").c_str());
    setenv("TEST_JLI_STATUS", "77", 1);
    EXPECT_EQ(launchOutput(77), "program\n-Xint\nMain\n\nnull; 0 0 0 0; 17.0.9 17.0.9 java java; 0 0 0 0; 0\n");
    unsetenv("TEST_JLI_STATUS");
    EXPECT_EQ(launcher.javaMajorVersion, 17);
    EXPECT_THAT(logged("arg "), ElementsAre("arg program", "arg -Xint", "arg Main", "arg "));
    EXPECT_THAT(logged("launching"), ElementsAre(HasSubstr(" 4")));

    // A runtime without a version.
    launcher.loadFromArgumentFile("program",
                                  argumentFile(addLibrary(directory.makeDirectory("bare")) + "\nMain").c_str());
    EXPECT_THAT(launchOutput(), HasSubstr("; 1.7.0 1.7.0 java java;"));
}

TEST_F(LauncherStart, LibraryIsTheFirstOfItsPlaces) {
    const Strings places = {"Contents/Home/jre/lib/jli/libjli.dylib",
                            "Contents/Home/jre/lib/jli/libjli.so",
                            "Contents/Home/lib/jli/libjli.dylib",
                            "Contents/Home/lib/jli/libjli.so",
                            "Contents/Home/lib/libjli.dylib",
                            "Contents/Home/lib/libjli.so",
                            "lib/jli/libjli.dylib",
                            "lib/jli/libjli.so",
                            "lib/libjli.dylib",
                            "lib/libjli.so"};
    const std::string runtime = makeRuntime("rt", "17");
    const std::string content = runtime + "\nMain";
    launcher.loadFromArgumentFile("program", argumentFile(content).c_str());
    EXPECT_EQ(launchFailure(), "JavaLaunchError: Could not load JRE.");
    EXPECT_THAT(logged("load library"), ElementsAre("load library " + runtime + "/lib/libjli.dylib."));
    EXPECT_EQ(launchGlobals.JLI_LaunchFxnPtr, nullptr);
    for (auto place = places.rbegin(); place != places.rend(); ++place) {
        addLibrary(runtime, *place);
        log.clear();
        EXPECT_THAT(launchOutput(), HasSubstr("Main\n"));
        EXPECT_THAT(logged("load library"), ElementsAre("load library " + runtime + "/" + *place + "."));
    }

    // The browser plug-in has a place of its own.
    log.clear();
    launcher.pluginUsed = true;
    EXPECT_EQ(launchFailure(), "JavaLaunchError: Could not load JRE.");
    addLibrary(directory / "root/Library/Internet Plug-Ins/JavaAppletPlugin.plugin",
               "Contents/Home/lib/jli/libjli.dylib");
    EXPECT_THAT(launchOutput(), HasSubstr("Main\n"));
    EXPECT_THAT(logged("load library"), IsEmpty());
}

TEST_F(LauncherStart, RelativeRuntimeIsNotSearchedFor) {
    addLibrary(directory.makeDirectory("rt"), "lib/libjli.so");
    const fs::path before = fs::current_path();
    fs::current_path(directory.path());
    launcher.loadFromArgumentFile("program", argumentFile("rt\nMain").c_str());
    EXPECT_THAT(launchOutput(), HasSubstr("Main\n"));
    fs::current_path(before);
    // Kept for another execution, which need not have this working directory.
    const auto kept = platform::takeReexecution();
    ASSERT_TRUE(kept);
    EXPECT_EQ(kept->libraryPath, directory / "rt/lib/libjli.so");
}

TEST_F(LauncherStart, LibrariesMayLackFunctions) {
    const std::string useless = addLibrary(directory.makeDirectory("useless"), "lib/libjli.so", "WITHOUT_LAUNCH");
    launcher.loadFromArgumentFile("program", argumentFile(useless + "\nMain").c_str());
    EXPECT_EQ(launchFailure(), "JavaLaunchError: Could not get function pointer for JLI_Launch.");

    const std::string old = addLibrary(directory.makeDirectory("old"), "lib/libjli.so", "WITHOUT_MEM_FREE");
    launcher.loadFromArgumentFile("program", argumentFile(old + "\nMain\n@file").c_str());
    EXPECT_THAT(launchOutput(), HasSubstr("program\nMain\n@file\nnull;"));
    EXPECT_THAT(logged("did not find"),
                ElementsAre(testing::MatchesRegex("did not find all list functions (0x[0-9a-f]+ ){5}0x0")));
}

TEST_F(LauncherStart, LibraryExpandsArgumentFiles) {
    const std::string runtime = addLibrary(makeRuntime("rt", "17"));
    struct Case {
        const char *program;
        const char *lines;
        const char *output;
        int allocations; // the list, its elements and one for each entry: what was expanded is freed
    };
    const Case cases[] = {
        {"program", "-cp\n@a\nMain\n@", "init 1 0\nprogram\n-cp\na-1\na-2\nMain\n", 7},
        {"@program", "Main", "init 1 0\n@program\nMain\n", 4},
        {"program", "Main\na@b\n @c", "program\nMain\na@b\n @c\n", 0},
    };
    int allocated = 0;
    for (const auto &[program, lines, output, allocations] : cases) {
        launcher.loadFromArgumentFile(program, argumentFile(runtime + "\n" + lines).c_str());
        log.clear();
        const std::string all = launchOutput();
        EXPECT_TRUE(all.starts_with(output + "null;"s)) << all;
        const int before = std::exchange(allocated, std::stoi(all.substr(all.rfind(' '))));
        EXPECT_EQ(allocated - before, allocations) << all;
        EXPECT_EQ(wasLogged("@ argument found"), allocations != 0);
    }
}

TEST_F(LauncherStart, ConfigurationGivesTheVector) {
    const std::string runtime = addLibrary(makeRuntime("rt", "17.0.9"));
    directory.write("home/.config/kestrav/.GlobalPreferences.plist",
                    PropertyList(Dictionary{{"AppleLocale", "de_DE"}}).serialize());
    unsetenv("LANG");
    platform::testing::setArguments({"Tool", "typed", "-J-Xint"});
    configure({{"ksv.allowPassthrough", true},
               {"CFBundleName", "Tool"},
               {"JavaVM", Dictionary{{"SearchSequence", Array{"R" + runtime}},
                                     {"VMOptionArray", Array{"-Dx=y", "-Xdock:name=x"}},
                                     {"ArgumentArray", Array{"first"}},
                                     {"MainClass", "org.example.Main"}}}});
    launcher.load("program");
    EXPECT_EQ(arguments(), (Strings{"-Dx=y", "-Dksv.ownBundlePath=" + bundlePath, "-Xint", "-Dksv.jreBundle=" + runtime,
                                    "org.example.Main", "first", "typed"}));
    EXPECT_STREQ(std::getenv("LANG"), "de_DE.UTF-8");
    EXPECT_THAT(launchOutput(),
                AllOf(testing::StartsWith("program\n-Dx=y\n"), HasSubstr("; 17.0.9 17.0.9 java java;")));

    // What is set already stays.
    setenv("LANG", "C.UTF-8", 1);
    launcher.load("program");
    EXPECT_STREQ(std::getenv("LANG"), "C.UTF-8");

    configure({{"JavaVM", Dictionary{{"SearchSequence", Array{}}}}});
    launcher.load("program");
    EXPECT_EQ(launcher.launch(), 1);
    EXPECT_THAT(notices, ElementsAre(": AppleJavaMinVersionError"));
    EXPECT_TRUE(wasLogged("no suitable JRE found."));
}

TEST_F(LauncherStart, WindowTabbingIsSetAmongTheUsersDefaults) {
    configure({{"CFBundleIdentifier", "org.example.tool"}});
    const std::string domain = "home/.config/kestrav/org.example.tool.plist";
    const std::string content = addLibrary(makeRuntime("rt", "17")) + "\nMain";
    const auto launch = [&] {
        launcher.loadFromArgumentFile("program", argumentFile(content).c_str());
        EXPECT_THAT(launchOutput(), HasSubstr("Main\n"));
        return platform::contentsOfFile(directory / domain).value_or("nothing");
    };
    EXPECT_EQ(PropertyList::parse(launch()), PropertyList(Dictionary{{"AppleWindowTabbingMode", "manual"}}));

    // Written once: the same file stays.
    const auto time = fs::file_time_type::clock::now() - std::chrono::hours(1);
    fs::last_write_time(directory / domain, time);
    launch();
    EXPECT_EQ(fs::last_write_time(directory / domain), time);

    // What stands there besides is kept, also what this program has no type for.
    directory.write(domain, R"(<plist version="1.0"><dict><key>AppleWindowTabbingMode</key><string>x</string>
        <key>u</key><integer>18446744073709551615</integer><key>d</key><date>2020-01-02T03:04:05Z</date></dict></plist>)");
    EXPECT_THAT(launch(), AllOf(HasSubstr("<integer>18446744073709551615</integer>"), HasSubstr("2020-01-02T03:04:05Z"),
                                HasSubstr("<string>manual</string>")));

    // Neither a damaged nor a read-only file is touched, and neither is in the way.
    for (const std::string damaged : {"<plist><dict><key>a</key>", "", "<plist version=\"1.0\"><array/></plist>"}) {
        directory.write(domain, damaged);
        EXPECT_EQ(launch(), damaged);
    }
    const std::string old = PropertyList(Dictionary{}).serialize();
    directory.write(domain, old);
    fs::permissions(directory / domain, fs::perms::owner_read);
    EXPECT_EQ(launch(), old);
    fs::remove_all(directory / "home");
    directory.write("home", "no folder");
    EXPECT_EQ(launch(), "nothing");
}

TEST_F(LauncherStart, FailuresAreLoggedAndShown) {
    configure({{"CFBundleName", "Tool"}});
    launchGlobals.logStatus = 2;
    EXPECT_EQ(launcherMain({"program", invokeOtherMarker, argumentFile(makeRuntime("rt", "17") + "\nMain")}), 1);
    EXPECT_THAT(notices, ElementsAre("Tool: dorvik.InternalError"));
    EXPECT_THAT(log, ElementsAre(AllOf(HasSubstr("int launcher_main(int, char **) [Line "),
                                       HasSubstr("Could not load JRE.: (\n    \"0 "))));

    notices.clear();
    EXPECT_EQ(launcherMain({"program", invokeOtherMarker, argumentFile("one line")}), 1);
    EXPECT_THAT(notices, ElementsAre("Tool: AppleJavaMinVersionError"));

    // Without the marker the configuration counts.
    notices.clear();
    configure({{"JavaVM", "no dictionary"}});
    EXPECT_EQ(launcherMain({"program"}), 1);
    EXPECT_THAT(notices, ElementsAre(": dorvik.InternalError"));
}

TEST_F(LauncherStart, SecondEntryGoesStraightToTheLibrary) {
    const std::string runtime = addLibrary(makeRuntime("rt", "17"));
    launcher.loadFromArgumentFile("program", argumentFile(runtime + "\nMain").c_str());
    launchOutput();
    testing::internal::CaptureStdout();
    const std::string file = argumentFile("kept");
    EXPECT_EQ(launcherMain({"x", invokeOtherMarker, file}), 0);
    EXPECT_THAT(testing::internal::GetCapturedStdout(),
                HasSubstr("x\n"s + invokeOtherMarker + "\n" + file + "\nnull; 0 0 0 0; 17 17 java java;"));
    EXPECT_TRUE(fs::exists(file));
}

TEST(Reexecution, IsResumedByThisProcessAlone) {
    const auto take = [] {
        const auto kept = platform::takeReexecution();
        EXPECT_EQ(std::getenv("KESTRAV_REEXEC"), nullptr);
        return kept ? kept->version + "|" + kept->libraryPath : "nothing";
    };
    EXPECT_EQ(take(), "nothing");
    platform::prepareReexecution("17 \n0", "/a b/12 libjli.so");
    EXPECT_EQ(take(), "17 \n0|/a b/12 libjli.so");

    const std::string self = std::to_string(getpid());
    for (const std::string &value :
         {std::to_string(getppid()) + " 2 17/lib", "x" + self + " 2 17/lib", ""s, self, self + " ", self + " 2",
          self + " 2 17", self + " -2 17/lib", self + " 99999999999999999999 17/lib", self + " 3 17"}) {
        setenv("KESTRAV_REEXEC", value.c_str(), 1);
        EXPECT_EQ(take(), "nothing") << value;
    }
}

} // namespace
} // namespace kestrav::tests
