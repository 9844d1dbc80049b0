// The applications that kestrav-bundle makes: their runtimes, how they run and how desktops start them.

#include "Launch.h"
#include "Tool.h"
#include "platform/IconImage.h"
#include "support/LoopbackServer.h"

#include <gmock/gmock.h>

#include <tuple>

namespace kestrav::tests {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

/// A test bundle that the tool has replaced with its own.
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
    fs::permissions(folder.path(), fs::perms::all);
    const MadeBundle carrying({"--runtime", home});
    const std::string archive = contentOf(carrying.path() + "/Contents/Resources/app/jre.tar.gz");
    const LoopbackServer server(answers({{"/jre", ok(archive)}}));
    const std::string published = folder / "home.tar.gz";
    EXPECT_EQ(run("tar", {"-C", folder.path(), "-czf", published, "home"}).output, "");
    const std::string copied = "/jre.bundle/Contents/Home";
    const std::pair<std::vector<std::string>, std::string> cases[] = {
        {{"--runtime", published}, copied},
        {{"--runtime", home, "--runtime-form", "folder"}, copied},
        {{"--runtime-url", server.url("/jre"), "--no-search"}, copied},
        {{"--search", "R" + home, "--min-version", "17", "--max-version", "17"}, home},
    };
    for (const auto &[options, runtime] : cases) {
        const MadeBundle bundle(options);
        Launch launch(bundle, {.arguments = {"more"}, .asNobody = true});
        const auto arguments = launch.report().arguments;
        EXPECT_THAT(arguments.front(), testing::EndsWith(runtime + "/bin/java"));
        const std::string classPath = bundle.path() + "/Contents/Resources/app/program.jar";
        EXPECT_THAT(arguments, testing::IsSupersetOf({"-Djava.class.path=" + classPath, "-Dhome=" + bundle.path()}));
        EXPECT_THAT(std::vector(arguments.end() - 3, arguments.end()),
                    ElementsAre("org.example.program.Main", R"(a "b" <c> & ü)", "more"));
        EXPECT_EQ(launch.wait(), 0);
        EXPECT_EQ(launch.errors(), "");
    }
}

TEST(Tool, ArchiveHoldsTheRuntimeWhole) {
    const TemporaryDirectory folder;
    const std::string longName(240, 'n');
    folder.write("home/" + longName, "");
    const Outcome outcome = makeTool(folder, {"--jar", KESTRAV_PROGRAM_JAR, "--runtime", makeHome(folder)});
    ASSERT_EQ(outcome.status, 0) << outcome.output;
    EXPECT_THAT(outcome.output, HasSubstr("home/lib/dangling, a link to nowhere, which is not there"));
    const std::string archive = folder / "Test.app/Contents/Resources/app/jre.tar.gz";
    EXPECT_EQ(contentOf(archive).substr(4, 4), std::string(4, '\0')); // no time, so the archive is always the same
    EXPECT_EQ(run("tar", {"tzf", archive}).output,
              "Contents/\nContents/Home/\nContents/Home/bin/\nContents/Home/bin/java\nContents/Home/bin/java-link\n"
              "Contents/Home/hard\nContents/Home/lib/\nContents/Home/lib/absolute\nContents/Home/lib/conf/\n"
              "Contents/Home/lib/conf/a\nContents/Home/" +
                  longName + "\nContents/Home/release\nContents/Info.plist\n");
    ASSERT_EQ(run("tar", {"xzf", archive, "-C", folder.makeDirectory("extracted")}).output, "");
    const std::string home = folder / "extracted/Contents/Home/";
    EXPECT_EQ(fs::read_symlink(home + "bin/java-link"), "java");
    EXPECT_EQ(contentOf(home + "lib/absolute"), contentOf(home + "release"));
    EXPECT_FALSE(fs::is_symlink(home + "lib/absolute"));
    EXPECT_EQ(fs::hard_link_count(home + "hard"), 1U);
    EXPECT_NE(fs::status(home + "bin/java").permissions() & fs::perms::owner_exec, fs::perms::none);
    const auto info = PropertyList::parse(contentOf(folder / "Test.app/Contents/Info.plist"));
    const std::string size = run("sh", {"-c", "gzip -dc " + archive + " | wc -c"}).output;
    EXPECT_EQ(info->find("ksv.jreUncompressedSize")->description() + "\n", size);
}

TEST(Tool, TheSameFilesMakeTheSameApplication) {
    const TemporaryDirectory folder;
    const std::string home = makeHome(folder);
    folder.makeDirectory("other");
    EXPECT_EQ(
        run("cd " + folder.path() + "; TZ=Asia/Tokyo cp -r home outside other; umask 027; mkdir other/made", {}).output,
        ""); // with other times
    const std::string common = " --installer --identifier org.example.tool --jar " KESTRAV_PROGRAM_JAR " --runtime ";
    const auto make = [&](const std::string &environment, const std::string &runtime, const std::string &place) {
        return run(environment + " " KESTRAV_TOOL + common, {runtime, folder / place}).output;
    };
    EXPECT_THAT(make("SOURCE_DATE_EPOCH=", home, "Test.app"), HasSubstr("made "));
    EXPECT_THAT(make("", folder / "other/home", "other/made/Test.app"), HasSubstr("made "));
    EXPECT_EQ(run("diff -r", {folder / "Test.app", folder / "other/made/Test.app"}).output, "");
    EXPECT_THAT(make("SOURCE_DATE_EPOCH=86400 TZ=UTC", home, "Dated.app"), HasSubstr("made "));
    EXPECT_THAT(run("TZ=UTC tar tvzf", {folder / "Dated.app/Contents/Resources/app/jre.tar.gz"}).output,
                HasSubstr("1970-01-02 00:00 Contents/Home/release"));
    EXPECT_THAT(make("SOURCE_DATE_EPOCH=today", home, "No.app"), HasSubstr(R"(is "today", not a number)"));
}

TEST(Tool, OrdinaryApplicationsAreOneProcessAndKeepWhatTheyObtain) {
    const TemporaryDirectory folder;
    const std::string home = makeHome(folder);
    const std::string words = "--replace --jar " KESTRAV_PROGRAM_JAR;
    EXPECT_THAT(makeTool(folder, {"--runtime", home}, words).output, HasSubstr("has no launch library"));
    folder.write("home/lib/libjli.so", "");
    struct Case {
        std::vector<std::string> options;
        bool inProcess;
        bool keeps;
        bool isFolder;
    };
    const Case cases[] = {
        {{"--runtime", home}, true, false, true},
        {{"--runtime", home, "--runtime-form", "archive"}, true, true, false},
        {{"--runtime-url", "http://x/y"}, true, true, false},
        {{"--runtime-form", "folder", "--runtime", home, "--installer"}, false, false, true},
        {{"--runtime-url", "http://x/y", "--installer"}, false, false, false},
    };
    for (const auto &[options, inProcess, keeps, isFolder] : cases) {
        const Outcome outcome = makeTool(folder, options, words);
        EXPECT_EQ(outcome.status, 0) << outcome.output;
        const auto info = PropertyList::parse(contentOf(folder / "Test.app/Contents/Info.plist"));
        EXPECT_EQ(info->find("ksv.inProcess") != nullptr, inProcess) << outcome.output;
        EXPECT_EQ(info->find("ksv.keepRuntime") != nullptr, keeps) << outcome.output;
        EXPECT_EQ(fs::exists(folder / "Test.app/Contents/PlugIns/jre.bundle"), isFolder) << outcome.output;
    }
}

TEST(Tool, DesktopsAcceptTheirEntryAndOpenFilesByIt) {
    const TemporaryDirectory folder;
    const std::string installed = folder / R"(in "the" $x\y `z)"; // as the entry finds it
    const std::string entry = folder / "share/org.example.tool.desktop";
    const std::string document = folder.write("a b.tl", "");
    const std::string image =
        folder.write("x.svg", R"(<svg xmlns="http://www.w3.org/2000/svg"><path d="M0 0h9v9"/></svg>)");
    const std::tuple<std::vector<std::string>, std::string, std::string> cases[] = {
        {{"--icon", image, "--file-type", "tl=A <tool> & file", "--file-type", "foo:text/plain"},
         document,
         "MimeType=application/x-tl;text/plain;\n"},
        {{"--url-scheme", "Tool", "--name-in", "pt-BR= A\\B"}, "tool:x", "Name[pt_BR]=\\sA\\\\B\n"},
    };
    const std::string home = makeHome(folder);
    for (const auto &[more, opened, line] : cases) {
        std::vector<std::string> options{"--search",        "R" + home, "--install-path", installed + "/Test.app",
                                         "--desktop-entry", entry};
        options.insert(options.end(), more.begin(), more.end());
        const MadeBundle bundle(options);
        EXPECT_THAT(contentOf(entry),
                    testing::AllOf(HasSubstr(line), HasSubstr("StartupWMClass=org-example-program-Main\n")));
        EXPECT_EQ(run("desktop-file-validate", {entry}).output, "");
        fs::remove(installed);
        fs::create_directory_symlink(bundle.folder().path(), installed);
        const std::string icons = contentOf(bundle.path() + "/Contents/Resources/app.icns");
        const auto small = platform::iconImage(icons, 32);
        EXPECT_EQ(contentOf(folder / "share/hicolor/32x32/apps/org.example.tool.png"), small.value_or("none"));
        Launch launch(bundle, {.program = opened, .by = {"/usr/bin/gio", "launch", entry}});
        EXPECT_EQ(launch.report().arguments.back(), opened);
        EXPECT_EQ(launch.wait(), 0) << launch.errors();
    }
    fs::create_directories(folder / "mime/packages");
    fs::rename(folder / "share/org.example.tool.xml", folder / "mime/packages/org.example.tool.xml");
    EXPECT_EQ(run("XDG_DATA_HOME=" + folder.path() + " update-mime-database", {folder / "mime"}).output, "");
    EXPECT_THAT(contentOf(folder / "mime/globs2"), HasSubstr("application/x-tl:*.tl\n"));
}

TEST(Tool, SaysWhereTheRuntimeWillComeFrom) {
    const TemporaryDirectory files;
    const std::string earlier = files.write("earlier", PropertyList(Dictionary{{"ksv.appId", "1"}}).serialize());
    const std::string nowhere = files.write(
        "nowhere", PropertyList(Dictionary{{"JavaVM", Dictionary{{"SearchSequence", Array{}}}}}).serialize());
    const std::pair<std::string, const char *> cases[] = {
        {"", "an installed one, Java of any version\n"},
        {"--min-version 17 --runtime-url file:///x.tar.gz --info " + earlier,
         "an installed one, Java 17 or newer, else that of an earlier installation, else the one from "
         "file:///x.tar.gz"},
        {"--runtime-url 'https://u:p@x/y?z' --info " + nowhere, "the one from https://***@x/y\n"},
    };
    for (const auto &[options, runtime] : cases) {
        const TemporaryDirectory folder;
        const Outcome outcome = makeTool(folder, {}, "--main-class a.B --class-path '$NAME' " + options);
        EXPECT_EQ(outcome.status, 0) << outcome.output;
        EXPECT_THAT(outcome.output, HasSubstr(std::string("runtime: ") + runtime));
        // No class here shows which version the program needs.
        const bool isBounded = options.starts_with("--min-version");
        EXPECT_EQ(outcome.output.find("give --min-version") == std::string::npos, isBounded) << outcome.output;
    }
}

} // namespace
} // namespace kestrav::tests
