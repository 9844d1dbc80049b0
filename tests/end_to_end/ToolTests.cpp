// The applications that kestrav-bundle makes, and those that it refuses to make.

#include "Launch.h"
#include "platform/PropertyList.h"
#include "support/LoopbackServer.h"

#include <gmock/gmock.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <list>
#include <utility>

namespace kestrav::tests {
namespace {

namespace fs = std::filesystem;

using testing::ElementsAre;
using testing::HasSubstr;
using testing::UnorderedElementsAre;

struct Outcome {
    int status = -1;
    std::string output; // and errors
};

/// Runs a program; no argument has a single quote.
Outcome run(std::string command, const std::vector<std::string> &arguments) {
    for (const std::string &argument : arguments) {
        command += " '" + argument + "'";
    }
    Outcome outcome;
    FILE *pipe = popen((command + " 2>&1 </dev/null").c_str(), "re");
    std::array<char, 4096> buffer{};
    while (const auto count = fread(buffer.data(), 1, buffer.size(), pipe)) {
        outcome.output.append(buffer.data(), count);
    }
    const int status = pclose(pipe);
    outcome.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return outcome;
}

std::vector<std::string> namesIn(const std::string &folder) {
    std::vector<std::string> names;
    for (const auto &entry : fs::directory_iterator(folder)) {
        names.push_back(entry.path().filename().string());
    }
    return names;
}

/// A runtime as a plain home, with all kinds of links.
std::string makeHome(const TemporaryDirectory &folder, const std::string &name = "home") {
    linkFile(KESTRAV_FAKE_JAVA, folder / (name + "/bin/java"));
    folder.write(name + "/release", "JAVA_VERSION=\"17.0.9\"\nIMPLEMENTOR=\"Example\"\n");
    folder.write(name + "/lib/._debris", "");
    folder.write("outside/conf/a", "from outside");
    fs::create_symlink("java", folder / (name + "/bin/java-link"));
    fs::create_directory_symlink("../../outside/conf", folder / (name + "/lib/conf"));
    fs::create_symlink(folder / (name + "/release"), folder / (name + "/lib/absolute"));
    fs::create_symlink("nowhere", folder / (name + "/lib/dangling"));
    fs::create_hard_link(folder / (name + "/release"), folder / (name + "/hard"));
    return folder / name;
}

/// Runs the tool for an application of the usual name in the folder.
Outcome makeTool(const TemporaryDirectory &folder, std::vector<std::string> options) {
    options.insert(options.begin(), {"--identifier", "org.example.tool"});
    options.push_back(folder / "Test.app");
    return run(KESTRAV_TOOL, options);
}

/// A bundle of the tests in whose place the tool has put its own.
struct MadeBundle : AppBundle {
    explicit MadeBundle(std::vector<std::string> options) {
        writeInfo();
        options.insert(options.end(), {"--replace", "--jar", KESTRAV_PROGRAM_JAR, "--argument", R"(a "b" <c> & ü)",
                                       "--vm-option", "-Dhome=$APP_PACKAGE"});
        const Outcome outcome = makeTool(folder(), options);
        EXPECT_EQ(outcome.status, 0) << outcome.output;
        rawInfo = contentOf(path() + "/Contents/Info.plist");
    }
};

TEST(Tool, ApplicationRunsOnEachKindOfRuntime) {
    const TemporaryDirectory folder;
    const std::string home = makeHome(folder);
    std::list<MadeBundle> bundles;
    const std::string carried = bundles.emplace_back(std::vector<std::string>{"--runtime", home}).path();
    const LoopbackServer server(answers({{"/jre", ok(contentOf(carried + "/Contents/Resources/app/jre.tar.gz"))}}));
    bundles.emplace_back(std::vector<std::string>{"--runtime", home, "--runtime-form", "folder"});
    bundles.emplace_back(std::vector<std::string>{"--runtime-url", server.url("/jre"), "--no-search"});
    bundles.emplace_back(
        std::vector<std::string>{"--search", "R" + home, "--min-version", "17", "--max-version", "17"});
    Launches launches;
    for (const MadeBundle &bundle : bundles) {
        launches.push_back(std::make_unique<Launch>(bundle, Start{.arguments = {"more"}}));
    }
    expectStatus(launches, 0);
    const std::string copied = "jre.bundle/Contents/Home";
    const std::array runtimes{copied, copied, copied, home};
    auto bundle = bundles.begin();
    for (std::size_t i = 0; i < launches.size(); ++i, ++bundle) {
        const auto &arguments = launches[i]->report().arguments;
        EXPECT_THAT(arguments.front(), testing::EndsWith(runtimes.at(i) + "/bin/java"));
        EXPECT_THAT(arguments, testing::IsSupersetOf(
                                   {"-Djava.class.path=" + bundle->path() + "/Contents/Resources/app/program.jar",
                                    "-Dhome=" + bundle->path()}));
        EXPECT_THAT(std::vector(arguments.end() - 3, arguments.end()),
                    ElementsAre("org.example.program.Main", R"(a "b" <c> & ü)", "more"));
    }
}

TEST(Tool, ArchiveHoldsTheRuntimeWhole) {
    const TemporaryDirectory folder;
    const Outcome outcome = makeTool(folder, {"--jar", KESTRAV_PROGRAM_JAR, "--runtime", makeHome(folder)});
    ASSERT_EQ(outcome.status, 0) << outcome.output;
    EXPECT_THAT(outcome.output, HasSubstr("left out lib/dangling, a link to nowhere, which is not there"));
    const std::string archive = folder / "Test.app/Contents/Resources/app/jre.tar.gz";
    EXPECT_EQ(run("tar", {"tzf", archive}).output,
              "Contents/\nContents/Home/\nContents/Home/bin/\nContents/Home/bin/java\nContents/Home/bin/java-link\n"
              "Contents/Home/hard\nContents/Home/lib/\nContents/Home/lib/absolute\nContents/Home/lib/conf/\n"
              "Contents/Home/lib/conf/a\nContents/Home/release\nContents/Info.plist\n");
    ASSERT_EQ(run("tar", {"xzf", archive, "-C", folder.makeDirectory("extracted")}).output, "");
    const std::string home = folder / "extracted/Contents/Home/";
    EXPECT_EQ(fs::read_symlink(home + "bin/java-link"), "java");
    EXPECT_EQ(contentOf(home + "lib/absolute"), contentOf(home + "release"));
    EXPECT_FALSE(fs::is_symlink(home + "lib/absolute"));
    EXPECT_EQ(fs::hard_link_count(home + "hard"), 1U);
    EXPECT_NE(fs::status(home + "bin/java").permissions() & fs::perms::owner_exec, fs::perms::none);
    const auto info = platform::PropertyList::parse(contentOf(folder / "Test.app/Contents/Info.plist"));
    const std::string size = run("sh", {"-c", "gzip -dc " + archive + " | wc -c"}).output;
    EXPECT_EQ(info->find("ksv.jreUncompressedSize")->description() + "\n", size);
}

TEST(Tool, OtherFilesAndKeysAreThere) {
    const TemporaryDirectory folder;
    folder.write("classes/org/example/Own.class", std::string("\xCA\xFE\xBA\xBE\0\0\0\x34", 8));
    const Outcome outcome = makeTool(
        folder, {"--main-class",
                 "org.example.Own",
                 "--class-path",
                 folder / "classes/",
                 "--class-path",
                 "$APP_PACKAGE/../plugins/*",
                 "--file",
                 folder.write("licence.txt", "L"),
                 "--name",
                 "A Tool",
                 "--app-version",
                 "2.1",
                 "--icon",
                 folder.write("x.icns", "icns-own"),
                 "--language",
                 "de",
                 "--language",
                 "fr=" + folder.write("fr.strings", "\"a\" = \"b\";"),
                 "--info",
                 folder.write("more.plist",
                              propertyList(dictionary({{"ksv.allowBeta", "<true/>"},
                                                       {"JavaVM", dictionary({{"StartOnMainThread", "<true/>"}})}})))});
    ASSERT_EQ(outcome.status, 0) << outcome.output;
    EXPECT_THAT(outcome.output, HasSubstr("Java 1.8 or newer"));
    const std::string resources = folder / "Test.app/Contents/Resources/";
    EXPECT_THAT(namesIn(resources), UnorderedElementsAre("app", "app.icns", "de.lproj", "fr.lproj", "MainWindow.ui"));
    EXPECT_EQ(contentOf(resources + "app.icns"), "icns-own");
    EXPECT_EQ(contentOf(resources + "app/licence.txt"), "L");
    EXPECT_TRUE(fs::exists(resources + "app/classes/org/example/Own.class"));
    const auto info = platform::PropertyList::parse(contentOf(folder / "Test.app/Contents/Info.plist"));
    const platform::PropertyList &javaVM = *info->find("JavaVM");
    EXPECT_EQ(*javaVM.find("ClassPath"),
              platform::PropertyList("$APP_PACKAGE/Contents/Resources/app/classes:$APP_PACKAGE/../plugins/*"));
    EXPECT_EQ(*javaVM.find("StartOnMainThread"), platform::PropertyList(true));
    for (const auto &[key, value] : std::map<std::string, platform::PropertyList>{{"CFBundleName", "A Tool"},
                                                                                  {"CFBundleShortVersionString", "2.1"},
                                                                                  {"CFBundleDevelopmentRegion", "de"},
                                                                                  {"ksv.minVersion", "1.8"},
                                                                                  {"ksv.allowBeta", true}}) {
        EXPECT_EQ(*info->find(key), value) << key;
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
    const std::string text = files.write("text", "no archive");
    const std::string jar = KESTRAV_PROGRAM_JAR;
    const std::vector<std::pair<std::vector<std::string>, std::string>> cases{
        {{}, "no main class"},
        {{"--main-class", "org.example.Main"}, "is not in the application"},
        {{"--jar", jar, "--main-class", "org.example.Other"}, "org.example.Other is not in the class path"},
        {{"--jar", jar, "--main-class", "org/example/Main"}, "named with dots"},
        {{"--jar", text}, "cannot be read as a Java archive"},
        {{"--jar", files / "missing.jar"}, "No such file"},
        {{"--jar", jar, "--class-path", jar}, "Two files are named program.jar"},
        {{"--jar", jar, "--file", files.write("jre.tar.gz", "")}, "would take a file of this name for the runtime"},
        {{"--jar", jar, "--class-path", "${HOME}/x.jar"}, "cannot be on the class path"},
        {{"--jar", jar, "--class-path", files.write("a:b.jar", "")}, "\":\" cannot be on a class path"},
        {{"--jar", jar, "--vm-option", "Xmx1g"}, "A VM option begins with \"-\""},
        {{"--jar", jar, "--argument", "\x01"}, "control characters"},
        {{"--jar", jar, "--argument", "\xFF"}, "no UTF-8 text"},
        {{"--jar", jar, "--identifier", "tool"}, "The identifier \"tool\""},
        {{"--jar", jar, "--icon", text}, "is no .icns file"},
        {{"--jar", jar, "--language", "xx"}, "no messages in xx"},
        {{"--jar", jar, "--min-version", "11"}, "needs Java 17 or newer, --min-version is 11"},
        {{"--jar", jar, "--max-version", "16"}, "needs Java 17 or newer, --max-version is 16"},
        {{"--jar", jar, "--min-version", "8"}, "calls itself 1.8"},
        {{"--jar", jar, "--min-version", "21", "--max-version", "17"}, "No version is at least 21 and at most 17"},
        {{"--jar", jar, "--no-search"}, "would find no runtime"},
        {{"--jar", jar, "--search", "X"}, "is nowhere to search"},
        {{"--jar", jar, "--runtime-url", "example.com/jre.tar.gz"}, "is no address"},
        {{"--jar", jar, "--runtime", home, "--runtime-url", "http://x/y"}, "either --runtime or --runtime-url"},
        {{"--jar", jar, "--runtime", text}, "is no folder"},
        {{"--jar", jar, "--runtime", files / "noJava"}, "has no executable bin/java"},
        {{"--jar", jar, "--runtime", files / "noVersion"}, "does not declare its version"},
        {{"--jar", jar, "--runtime", files / "machine"}, "another kind of machine"},
        {{"--jar", jar, "--runtime", home, "--min-version", "18"}, "version 17.0.9 is not within the bounds"},
        {{"--jar", jar, "--runtime", files / "long"}, longName + "\" or where it leads is longer than 99 bytes"},
        {{"--jar", jar, "--runtime", files / "huge"}, "modules\" has 2 GiB or more"},
        {{"--jar", jar, "--runtime", files / "circle"}, "contains itself"},
        {{"--jar", jar, "--template", files.path()}, "There is no launcher template"},
        {{"--jar", jar, "--info", text}, "no property list"},
        {{"--jar", jar, "--info", files.write("i", propertyList(dictionary({{"ksv.appId", integer(1)}})))},
         "\"ksv.appId\" in Info.plist is an integer, not a string"},
        {{"--jar"}, "Which application"},
        {{"--jra", jar}, "There is no option --jra"},
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

TEST(Tool, AnExistingApplicationStaysUntilTheNewOneIsComplete) {
    const TemporaryDirectory folder;
    const std::vector<std::string> options{"--jar", KESTRAV_PROGRAM_JAR, "--runtime", makeHome(folder)};
    const auto with = [&](std::initializer_list<std::string> more) {
        auto all = options;
        all.insert(all.end(), more);
        return all;
    };
    folder.write("Test.app/precious", "kept");
    EXPECT_THAT(makeTool(folder, with({"--replace"})).output, HasSubstr("is no application, so it is not replaced"));
    folder.write("Test.app/Contents/Info.plist", "old");
    EXPECT_THAT(makeTool(folder, options).output, HasSubstr("is already there"));
    EXPECT_THAT(makeTool(folder, with({"--replace", "--icon", folder / "none"})).output, HasSubstr("cannot be read"));
    EXPECT_EQ(contentOf(folder / "Test.app/precious"), "kept");
    EXPECT_EQ(makeTool(folder, with({"--replace"})).status, 0);
    EXPECT_FALSE(fs::exists(folder / "Test.app/precious"));
    EXPECT_THAT(namesIn(folder.path()), UnorderedElementsAre("Test.app", "home", "outside"));
}

} // namespace
} // namespace kestrav::tests
