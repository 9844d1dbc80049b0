// What kestrav-bundle refuses to make, and what is there after it has failed.

#include "AppBundle.h"
#include "Tool.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <csignal>
#include <future>
#include <tuple>
#include <utility>

namespace kestrav::tests {
namespace {

namespace fs = std::filesystem;

using testing::ElementsAre;
using testing::HasSubstr;
using testing::UnorderedElementsAre;

TEST(Tool, NothingIsLeftBehindByAnEndOnTheWay) {
    const TemporaryDirectory folder;
    const std::string home = makeHome(folder);
    folder.write("home/lib/modules", "");
    fs::resize_file(home + "/lib/modules", (std::uintmax_t{1} << 31U) - 1); // some work
    const std::string command = std::string(KESTRAV_TOOL) + " --identifier org.example.tool --jar " +
                                KESTRAV_PROGRAM_JAR + " --runtime " + home + " Test.app";
    fs::create_directory(folder / "made");
    for (const auto &[script, status, message] : {std::tuple(command + R"( & tool=$!
                 until ls -A | grep kestrav-bundle >/dev/null; do kill -0 $tool || exit; sleep 0.01; done
                 kill -TERM $tool; wait $tool)",
                                                             128 + SIGTERM, "interrupted"),
                                                  std::tuple("ulimit -f 1; exec " + command, 1, "Could not write ")}) {
        const Outcome outcome = run("cd " + folder / "made" + "; sh", {"-c", script});
        EXPECT_EQ(outcome.status, status) << outcome.output;
        EXPECT_THAT(outcome.output, HasSubstr(message));
        EXPECT_THAT(namesIn(folder / "made"), ElementsAre());
    }
}

TEST(Tool, WhatWouldNotStartIsRefused) {
    const TemporaryDirectory files;
    const std::string home = makeHome(files);
    files.write("noJava/release", "JAVA_VERSION=\"17\"\n");
    linkFile(KESTRAV_FAKE_JAVA, files / "noVersion/bin/java");
    linkFile(KESTRAV_FAKE_JAVA, files / "machine/bin/java");
    fs::remove(files / "machine/bin/java");
    files.write("machine/bin/java", std::string("\xCF\xFA\xED\xFE", 4) + std::string(60, '\0'));
    fs::permissions(files / "machine/bin/java", fs::perms::owner_all);
    const std::string longName = std::string(86, 'x');
    files.write("long/" + longName, "");
    linkFile(KESTRAV_FAKE_JAVA, files / "long/bin/java");
    files.write("long/release", "JAVA_VERSION=\"17\"\n");
    makeHome(files, "huge");
    files.write("huge/modules", "");
    fs::resize_file(files / "huge/modules", std::uintmax_t{1} << 31U);
    makeHome(files, "circle");
    fs::create_directory_symlink("..", files / "circle/lib/up");
    fs::create_directory_symlink(files / "circle", files / "circle/lib/circle");
    const std::string garbage = files.write("text", "no archive");
    files.write("filled/Contents/Resources/app/a.jar", "");
    linkFile(KESTRAV_FAKE_JAVA, files / "filled/Contents/MacOS/launcher");
    const std::string marked = makeJar(files, "marked.jar", "\xEF\xBB\xBFMain-Class: a.Größe\n");
    ASSERT_EQ(mkfifo((files / "fifo").c_str(), S_IRUSR | S_IWUSR), 0);
    const auto info = [&](const std::string &name, const std::string &key, const std::string &value) {
        return files.write(name, propertyList(dictionary({{key, value}})));
    };
    const std::string jar = KESTRAV_PROGRAM_JAR;
    const std::string cut = files.write("cut.jar", contentOf(marked).substr(0, contentOf(marked).size() - 30));
    makeJar(files, "up.jar", "");
    const std::vector<std::pair<std::vector<std::string>, std::string>> cases{
        {{}, "no main class"},
        {{"--main-class", "org.example.Main"}, "is not in the application"},
        {{"--jar", jar, "--main-class", "org.example.Other"}, "org.example.Other is not in the class path"},
        {{"--main-class", "no.Such", "--runtime", KESTRAV_JDK}, "no.Such is neither on the class path nor in the run"},
        {{"--jar", jar, "--runtime", KESTRAV_JDK, "--vm-option", "-Xmx1gb"}, "Invalid maximum heap size: -Xmx1gb"},
        {{"--jar", jar, "--main-class", "org/example/Main"}, "named with dots"},
        {{"--jar", garbage}, "cannot be read as a Java archive"},
        {{"--jar", files / "fifo"}, "cannot be read"},
        {{"--jar", marked}, "byte-order mark"},
        {{"--jar", makeJar(files, "bell.jar", "Main-Class: a\x1B[2J\n")}, R"(main class a\)"},
        {{"--jar", jar, "--class-path", cut}, "cannot be read as a Java archive"},
        {{"--jar", makeJar(files, "large.jar", std::string(17 << 20U, 'a'))}, "its manifest is larger than 16 MiB"},
        {{"--jar", makeJar(files, "in/it.jar", "Class-Path: ../up.jar\n")}, "../up.jar, which would lie outside"},
        {{"--jar", jar, "--class-path", files / "home/*"}, "no archive in"},
        {{"--jar", jar, "--file", "/"}, "would contain the application"},
        {{"--jar", jar, "--file", files / "fifo"}, "neither a file nor a folder"},
        {{"--jar", files / "missing.jar"}, "No such file"},
        {{"--jar", jar, "--file", ""}, "A file's name is empty"},
        {{"--jar", jar, "--jar", jar}, "There is one --jar"},
        {{"--jar", jar, "--class-path", files.write("other/program.jar", "")}, "Two files are named program.jar"},
        {{"--jar", files.write("*", "")}, "cannot be on a class path"},
        {{"--jar", files.write("a$APP_PACKAGE.jar", "")}, "cannot be on a class path"},
        {{"--jar", jar, "--file", files.write("jre.tar.gz", "")}, "would take a file of this name for the runtime"},
        {{"--jar", jar, "--class-path", "${HOME}/x.jar"}, "cannot be on the class path"},
        {{"--jar", jar, "--class-path", files.write("a:b.jar", "")}, "cannot be on a class path"},
        {{"--jar", jar, "--vm-option", "Xmx1g"}, "A VM option begins with \"-\""},
        {{"--jar", jar, "--vm-option", "--limit-modules"}, "would take the next one for its value"},
        {{"--jar", jar, "--argument", "\x01"}, "control characters"},
        {{"--jar", jar, "--argument", "\xFF"}, "no UTF-8 text"},
        {{"--jar", jar, "--name", ""}, "name must not be empty"},
        {{"--jar", jar, "--info", info("i10", "CFBundleName", text(""))}, "name, must not be empty"},
        {{"--jar", jar, "--identifier", "tool"}, "The identifier \"tool\""},
        {{"--jar", jar, "--icon", files.write("cut.icns", std::string("icns\0\0\0\x09", 8))}, "is not an .icns file"},
        {{"--jar", jar, "--icon", files.write("old.icns", std::string("icns\0\0\0\x14it32\0\0\0\x0C....", 20))},
         "has no PNG image"},
        {{"--jar", jar, "--language", "fr=" + garbage}, "has no text for \"WizardCaption\""},
        {{"--jar", jar, "--language", "xx"}, "no messages in xx"},
        {{"--jar", jar, "--language", "\x01=" + garbage}, "control characters"},
        {{"--jar", jar, "--min-version", "11"}, "needs Java 17 or newer, but the oldest to be taken is 11"},
        {{"--jar", jar, "--max-version", "16"}, "needs Java 17 or newer, but the newest to be taken is 16"},
        {{"--jar", jar, "--min-version", "8"}, "calls itself 1.8"},
        {{"--jar", jar, "--min-version", "21", "--max-version", "17"}, "No version is at least 21 and at most 17"},
        {{"--jar", jar, "--min-version", "17,21"}, "is no version"},
        {{"--jar", jar, "--no-search"}, "would find no runtime"},
        {{"--jar", jar, "--search", "R~/jdk"}, "is not replaced"},
        {{"--jar", jar, "--info", info("i7", "JavaVM", dictionary({{"SearchSequence", array({})}}))},
         "would find no runtime"},
        {{"--jar", jar, "--no-search", "--info", info("i8", "ksv.allowBeta", "<true/>")}, "would find no runtime"},
        {{"--jar", jar, "--search", "X"}, "is nowhere to search"},
        {{"--jar", jar, "--runtime-url", "example.com/jre.tar.gz"}, "is no address"},
        {{"--jar", jar, "--runtime", home, "--runtime-url", "http://x/y"}, "either --runtime or --runtime-url"},
        {{"--jar", jar, "--runtime", garbage}, "is no folder"},
        {{"--jar", jar, "--runtime", files / "noJava"}, "has no executable bin/java"},
        {{"--jar", jar, "--runtime", files / "noVersion"}, "does not declare its version"},
        {{"--jar", jar, "--runtime", files / "machine"}, "another kind of machine"},
        {{"--jar", jar, "--runtime", home, "--min-version", "18"}, "version 17.0.9 is not within the bounds"},
        {{"--jar", jar, "--runtime", files / "long"}, longName + "\" or where it leads is longer than 99 bytes"},
        {{"--jar", jar, "--runtime", files / "huge"}, "modules\" has 2 GiB or more"},
        {{"--jar", jar, "--runtime", files / "circle"}, "contains itself"},
        {{"--jar", jar, "--template", files.path()}, "There is no launcher template"},
        {{"--jar", jar, "--template", files / "filled"}, "is an application already: it has Contents/Resources/app"},
        {{"--jar", jar, "--info", garbage}, "not a property list"},
        {{"--jar", jar, "--info", info("i1", "ksv.appId", integer(1))},
         "\"ksv.appId\" in Info.plist is an integer, not a string"},
        {{"--jar", jar, "--info", info("i2", "ksv.minVersion", text("11"))}, "the oldest to be taken is 11"},
        {{"--jar", jar, "--info", info("i5", "JavaVM", dictionary({{"MainClass", text("x.Y")}}))},
         "x.Y is not in the class path"},
        {{"--jar", jar, "--info", info("i6", "ksv.jreLocation", text("x"))}, "is no address"},
        {{"--jar", jar, "--info", info("i3", "CFBundleExecutable", text("x"))}, "has to be launcher"},
        {{"--jar", jar, "--info",
          info("i4", "JavaVM", dictionary({{"VersionSpecificVMOptions", array({text("11-17")})}}))},
         "is to have pairs"},
        {{"--jar", jar, "--info",
          info("i9", "JavaVM", dictionary({{"VersionSpecificVMOptions", array({text("17"), array({})})}}))},
         "\"17\", under \"VersionSpecificVMOptions\" in Info.plist, fits no version"},
        {{"--jar"}, "Which application"},
        {{"--jra", jar}, "There is no option --jra"},
        {{"--replace=yes", "--jar", jar}, "takes no value"},
        {{"--jar", jar, "Second.app"}, "One application at a time"},
    };
    for (const auto &[options, message] : cases) {
        const TemporaryDirectory folder;
        const Outcome outcome = makeTool(folder, options);
        EXPECT_EQ(outcome.status, 1) << message;
        EXPECT_THAT(outcome.output, HasSubstr(message));
        EXPECT_THAT(namesIn(folder.path()), ElementsAre()) << message;
    }
}

TEST(Tool, StringTableHasToHaveEveryMessage) {
    const TemporaryDirectory files;
    const std::string whole =
        contentOf(std::string(KESTRAV_TEMPLATE) + "/Contents/Resources/en.lproj/Localizable.strings");
    const std::string start = "\n\"";
    int messages = 0;
    for (std::size_t line = 0; (line = whole.find(start, line)) != std::string::npos; ++messages) {
        line += start.size();
        const std::string key = whole.substr(line, whole.find('"', line) - line);
        std::string table = whole;
        table.insert(line, "no-");
        const TemporaryDirectory folder;
        const Outcome outcome =
            makeTool(folder, {"--jar", KESTRAV_PROGRAM_JAR, "--language", "fr=" + files.write("table", table)});
        const bool isNeeded = !key.starts_with("Java"); // the others have one that is shown in their place
        EXPECT_EQ(outcome.status, isNeeded ? 1 : 0) << key;
        EXPECT_EQ(outcome.output.find("has no text for \"" + key + "\"") != std::string::npos, isNeeded);
    }
    EXPECT_GT(messages, 0);
}

TEST(Tool, NameThatNoClassPathCouldHaveIsRefused) {
    const TemporaryDirectory folder;
    const Outcome outcome =
        run(KESTRAV_TOOL, {"--identifier", "a.b", "--jar", KESTRAV_PROGRAM_JAR, folder / "a:b.app"});
    EXPECT_THAT(outcome.output, HasSubstr("would end an entry of its class path"));
    EXPECT_THAT(namesIn(folder.path()), ElementsAre());
}

TEST(Tool, AnExistingApplicationStaysUntilTheNewOneIsComplete) {
    const TemporaryDirectory folder;
    const std::vector<std::string> options{"--jar", KESTRAV_PROGRAM_JAR, "--runtime", makeHome(folder)};
    const auto with = [&](std::initializer_list<std::string> more) {
        auto all = options;
        all.insert(all.end(), more);
        return all;
    };
    folder.write("Test.app/precious", "kept");
    EXPECT_THAT(makeTool(folder, with({"--replace"})).output,
                HasSubstr("is not an application, so it is not replaced"));
    folder.write("Test.app/Contents/Info.plist", "old");
    EXPECT_THAT(makeTool(folder, options).output, HasSubstr("is already there"));
    EXPECT_THAT(makeTool(folder, with({"--replace", "--icon", folder / "none"})).output, HasSubstr("cannot be read"));
    EXPECT_EQ(contentOf(folder / "Test.app/precious"), "kept");
    // Several at once, and a killed run before them.
    folder.write(".kestrav-bundle-killed/old/Other.app/Contents/Info.plist", "other");
    folder.write(".kestrav-bundle-killed/old/Test.app/Contents/Info.plist", "older");
    std::vector<std::future<Outcome>> runs(4);
    for (auto &each : runs) {
        each = std::async(std::launch::async, [&] { return makeTool(folder, with({"--replace"})); });
    }
    for (auto &each : runs) {
        const Outcome outcome = each.get();
        EXPECT_EQ(outcome.status, 0) << outcome.output;
    }
    EXPECT_FALSE(fs::exists(folder / "Test.app/precious"));
    EXPECT_EQ(contentOf(folder / "Other.app/Contents/Info.plist"), "other");
    EXPECT_THAT(namesIn(folder.path()), UnorderedElementsAre("Other.app", "Test.app", "home", "outside"));
}

} // namespace
} // namespace kestrav::tests
