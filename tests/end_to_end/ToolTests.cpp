// The applications that kestrav-bundle makes.

#include "Launch.h"
#include "Tool.h"
#include "platform/IconImage.h"
#include "support/LoopbackServer.h"

#include <gmock/gmock.h>

#include <sstream>
#include <tuple>

namespace kestrav::tests {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::UnorderedElementsAre;

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

/// An icon file with an empty image.
const std::string icon("icns\0\0\0\x2Cic07\0\0\0\x24"
                       "\x89PNG\r\n\x1A\n\0\0\0\x0DIHDR\0\0\0\x80IEND\xAE\x42\x60\x82",
                       44);

/// The beginning of a file with code for a Mac: 2 is a program, 6 a library.
std::string machCode(char type) {
    return std::string("\xCF\xFA\xED\xFE\0\0\0\0\0\0\0\0", 12) + type + std::string(20, '\0');
}

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
    EXPECT_THAT(make("", home, "Test.app"), HasSubstr("made "));
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

TEST(Tool, OtherFilesAndKeysAreThere) {
    const TemporaryDirectory folder;
    folder.write("classes/org/example/Own.class", java8Class);
    makeJar(folder, "lib/b.jar", "");
    makeJar(folder, "lib/a.jar", "");
    folder.write("lib/c.txt", "c");
    const std::string messages = std::string(KESTRAV_TEMPLATE) + "/Contents/Resources/ja.lproj/Localizable.strings";
    fs::create_symlink("lib/c.txt", folder / "link.txt");
    fs::permissions(folder / "classes/org", fs::perms::owner_read | fs::perms::owner_exec);
    folder.write("licence.txt", "L");
    folder.write("x.icns", icon);
    folder.write("more.plist", PropertyList(Dictionary{{"ksv.allowBeta", true},
                                                       {"ksv.minversion", "11"},
                                                       {"MainClass", "a.B"},
                                                       {"JavaVM", Dictionary{{"StartOnMainThread", true}}}})
                                   .serialize());
    const std::string words =
        "--main-class org.example.Own --class-path classes/ --class-path '$APP_PACKAGE/../plugins/*' --file "
        "licence.txt "
        "--file link.txt --class-path 'lib/*' --class-path lib/../lib/a.jar --name 'A Tool' --app-version 2.1 "
        "--file-type 'tl=A \"tool\" file' --url-scheme tool --icon x.icns --language de --info more.plist --language "
        "fr=";
    const Outcome outcome = makeTool(folder, {}, words + messages);
    ASSERT_EQ(outcome.status, 0) << outcome.output;
    EXPECT_THAT(outcome.output, testing::AllOf(HasSubstr("Java 1.8 or newer"), HasSubstr("knows no such key"),
                                               HasSubstr("\"MainClass\" in more.plist is not heeded")));
    const std::string resources = folder / "Test.app/Contents/Resources/";
    EXPECT_THAT(namesIn(resources), UnorderedElementsAre("app", "app.icns", "de.lproj", "fr.lproj", "MainWindow.ui"));
    EXPECT_EQ(contentOf(resources + "app.icns"), icon);
    EXPECT_EQ(contentOf(resources + "fr.lproj/Localizable.strings"), contentOf(messages));
    EXPECT_NE(fs::status(resources + "fr.lproj/Localizable.strings").permissions() & fs::perms::others_read,
              fs::perms::none);
    EXPECT_EQ(contentOf(resources + "app/licence.txt"), "L");
    EXPECT_TRUE(fs::exists(resources + "app/classes/org/example/Own.class"));
    EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(resources + "app/link.txt")));
    EXPECT_NE(fs::status(resources + "app/classes/org").permissions() & fs::perms::owner_write, fs::perms::none);
    fs::permissions(folder / "classes/org", fs::perms::owner_all);
    const auto info = PropertyList::parse(contentOf(folder / "Test.app/Contents/Info.plist"));
    const PropertyList &javaVM = *info->find("JavaVM");
    EXPECT_EQ(*javaVM.find("ClassPath"),
              PropertyList("$APP_PACKAGE/Contents/Resources/app/classes:$APP_PACKAGE/../plugins/*:"
                           "$APP_PACKAGE/Contents/Resources/app/a.jar:$APP_PACKAGE/Contents/Resources/app/b.jar"));
    EXPECT_EQ(*javaVM.find("StartOnMainThread"), PropertyList(true));
    const Dictionary expected{{"CFBundleName", "A Tool"},
                              {"CFBundleShortVersionString", "2.1"},
                              {"CFBundleDevelopmentRegion", "de"},
                              {"ksv.minVersion", "1.8"},
                              {"ksv.allowBeta", true},
                              {"CFBundleDocumentTypes", Array{Dictionary{{"CFBundleTypeExtensions", Array{"tl"}},
                                                                         {"CFBundleTypeName", "A \"tool\" file"},
                                                                         {"CFBundleTypeRole", "Editor"}}}},
                              {"CFBundleURLTypes", Array{Dictionary{{"CFBundleURLName", "org.example.tool"},
                                                                    {"CFBundleURLSchemes", Array{"tool"}},
                                                                    {"CFBundleTypeRole", "Viewer"}}}}};
    for (const auto &[key, value] : expected) {
        EXPECT_EQ(*info->find(key), value) << key;
    }
}

TEST(Tool, ManifestIsReadAsJavaReadsIt) {
    for (const char *manifest : {"Manifest-Version: 1.0\r\nMain-Class: a.Gr\r\n öße \r\n\r\nMain-Class: b.C\r\n",
                                 "main-class: a.Größe\n", "Manifest-Version: 1.0\rMain-Class: a/Größe\r\r"}) {
        const TemporaryDirectory folder;
        const Outcome outcome = makeTool(folder, {"--jar", makeJar(folder, "a.jar", manifest)});
        EXPECT_EQ(outcome.status, 0) << outcome.output;
        EXPECT_THAT(contentOf(folder / "Test.app/Contents/Info.plist"), HasSubstr("<string>a.Größe</string>"));
    }
}

TEST(Tool, WhatManifestsNameTravels) {
    const TemporaryDirectory folder;
    makeJar(folder, "build/lib/deep/c.jar", "");
    makeJar(folder, "build/lib/b.jar", "Class-Path: ../a.jar deep/c.jar d.jar\n", false);
    makeJar(folder, "build/d.jar", "", false);
    folder.write("build/its conf/e", "");
    const std::string jar = makeJar(folder, "build/a.jar",
                                    "Class-Path: lib/b.jar . its%20conf/ file:" + folder / "none\n  http://x/y.jar\n" +
                                        "Main-Class: a.Größe\nAdd-Opens: java.base/x java.base/y\n",
                                    false);
    const Outcome outcome =
        makeTool(folder, {"--jar", jar, "--class-path", folder / "build/d.jar", "--vm-option",
                          "--add-opens=java.base/y=a,ALL-UNNAMED", "--search", "R" + folder / "no"});
    EXPECT_EQ(outcome.status, 0);
    const std::string app = folder / "Test.app/Contents/Resources/app/";
    EXPECT_THAT(namesIn(app), UnorderedElementsAre("a.jar", "d.jar", "its conf", "lib"));
    EXPECT_TRUE(fs::exists(app + "lib/deep/c.jar"));
    EXPECT_EQ(outcome.output, "made " + folder / "Test.app\n  the class path in the manifest of " + jar + " names " +
                                  folder / "none" + ", which is not there\n  the manifest of " + jar +
                                  " has \"Add-Opens: java.base/x\", which only counts for java -jar; what it does is " +
                                  "done by --vm-option --add-opens=java.base/x=ALL-UNNAMED\n  the folder " +
                                  folder / "no, where a runtime is to be searched, does not exist here\n" +
                                  "  runtime: an installed one, Java 1.8 or newer\n");
}

TEST(Tool, TakesAFolderAsItIsAndOptionsFromFiles) {
    const TemporaryDirectory folder;
    makeJar(folder, "in/bin/app.jar", "Main-Class: a.Größe\nClass-Path: ../lib/b.jar\n", false);
    makeJar(folder, "in/lib/b.jar", "");
    folder.write("in/conf/splash.png", "\x89PNG");
    folder.write("in/more.vmoptions", "-Xss1m");
    folder.write("options", "--input in --jar bin/app.jar # with what it needs\n@more '--splash' conf/\"splash\".png "
                            "--vm-option=\"-Dtext=a \\\"b\\\" # \\\\ \\tc\\\n    d\"");
    folder.write("more",
                 "--vm-option\t17-21:-Da=1\r\n--vm-option 17-:-Db=2 --vm-option 8:-Dc='3\n--argument @@x -- @@y.app");
    const std::string words = "@options --class-path lib/b.jar --options-file more.vmoptions --no-window "
                              "--working-directory '$APP_PACKAGE/..' ";
    EXPECT_THAT(makeTool(folder, {}, words).output, HasSubstr("One application at a time"));
    folder.write("more", contentOf(folder / "more").substr(0, contentOf(folder / "more").find(" -- ")));
    const Outcome dry = makeTool(folder, {"--dry-run", "--verbose"}, words);
    EXPECT_THAT(dry.output, testing::AllOf(HasSubstr("would make "), HasSubstr("file: in/lib as Contents/Resources/")));
    EXPECT_THAT(namesIn(folder.path()), UnorderedElementsAre("content", "in", "more", "options"));
    const Outcome outcome = makeTool(folder, {}, words);
    ASSERT_EQ(outcome.status, 0) << outcome.output;
    const std::string app = "$APP_PACKAGE/Contents/Resources/app/";
    EXPECT_THAT(namesIn(folder / "Test.app/Contents/Resources/app"),
                UnorderedElementsAre("bin", "conf", "lib", "more.vmoptions"));
    const auto info = PropertyList::parse(contentOf(folder / "Test.app/Contents/Info.plist"));
    EXPECT_EQ(*info->find("ksv.initialProgress"), PropertyList(false));
    EXPECT_EQ(
        info->find("JavaVM")->description(),
        PropertyList(Dictionary{{"MainClass", "a.Größe"},
                                {"ClassPath", app + "bin/app.jar:" + app + "lib/b.jar"},
                                {"VMOptionArray", Array{"-Dtext=a \"b\" # \\ \tcd"}},
                                {"VersionSpecificVMOptions", Array{"8-8", Array{"-Dc=3"}, "17-21",
                                                                   Array{"-Da=1", "-Db=2"}, "22-9999", Array{"-Db=2"}}},
                                {"ArgumentArray", Array{"@@x"}},
                                {"OptionsFile", app + "more.vmoptions"},
                                {"SplashFile", app + "conf/splash.png"},
                                {"WorkingDirectory", "$APP_PACKAGE/.."}})
            .description());
    std::istringstream help(run(KESTRAV_TOOL, {"--help"}).output);
    int lines = 0;
    for (std::string line; std::getline(help, line); ++lines) {
        EXPECT_LE(line.size(), 100U) << line;
    }
    EXPECT_LE(lines, 100);
}

TEST(Tool, DesktopsAcceptTheirEntryAndOpenFilesByIt) {
    const TemporaryDirectory folder;
    const std::string installed = folder / R"(in "the" $x\y `z)"; // as the entry finds it
    const std::string entry = folder / "share/org.example.tool.desktop";
    const std::string document = folder.write("a b.tl", "");
    const std::string image = folder.write("x.svg", R"(<svg xmlns="http://www.w3.org/2000/svg"/>)");
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

TEST(Tool, TakesTheOptionsOfTheJdksPackagingTool) {
    const TemporaryDirectory folder;
    makeJar(folder, "in/a.jar", "");
    folder.write("x.icns", icon);
    folder.write("association",
                 "extension = tl, tm\n# a comment\nmime-type:application/x-tl\ndescription=A \\\n tool\n");
    folder.write("bin/codesign", "#!/bin/sh\necho \"$*\" >>\"${0%/*}/log\"\n");
    folder.write("more/Resources/note", "N");
    fs::permissions(folder / "bin/codesign", fs::perms::owner_all);
    const std::string words =
        " -t app-image --dest made -n Tool --app-version 2.1 --copyright '(c) Me' --icon x.icns -i in --main-jar a.jar "
        "--main-class a.Größe --java-options '-Da=\"x y\" -Db=\\\"z' --arguments 'p \"q r\"' --runtime-image " +
        makeHome(folder) +
        " --file-associations association --app-content more/Resources,x.icns --verbose --installer "
        "--mac-package-identifier org.example.tool --mac-package-name Menu --mac-app-category "
        "utilities --mac-signing-key-user-name Me --mac-sign --mac-entitlements e.plist";
    folder.write("e.plist", PropertyList(Dictionary{{"x", true}}).serialize());
    const Outcome outcome = run("cd " + folder.path() + "; PATH=" + folder / "bin:$PATH " KESTRAV_TOOL + words, {});
    ASSERT_EQ(outcome.status, 0) << outcome.output;
    const std::string contents = folder / "made/Tool.app/Contents/";
    EXPECT_TRUE(fs::exists(contents + "PlugIns/jre.bundle") || fs::exists(contents + "Resources/app/jre.tar.gz"));
    EXPECT_EQ(contentOf(contents + "Resources/note"), "N");
    EXPECT_EQ(contentOf(contents + "x.icns"), contentOf(contents + "Resources/app.icns"));
    EXPECT_THAT(contentOf(folder / "bin/log"), HasSubstr("--sign Developer ID Application: Me --timestamp --entitle"));
    const auto type = [](const char *extension) {
        return Dictionary{{"CFBundleTypeExtensions", Array{extension}},
                          {"CFBundleTypeName", "A tool"},
                          {"CFBundleTypeMIMETypes", Array{"application/x-tl"}},
                          {"CFBundleTypeRole", "Editor"}};
    };
    const auto info = PropertyList::parse(contentOf(contents + "Info.plist"));
    const Dictionary expected{{"CFBundleName", "Menu"},
                              {"CFBundleIdentifier", "org.example.tool"},
                              {"CFBundleVersion", "2.1"},
                              {"NSHumanReadableCopyright", "(c) Me"},
                              {"LSApplicationCategoryType", "public.app-category.utilities"},
                              {"CFBundleDocumentTypes", Array{type("tl"), type("tm")}}};
    for (const auto &[key, value] : expected) {
        EXPECT_EQ(*info->find(key), value) << key;
    }
    EXPECT_EQ(*info->find("JavaVM")->find("VMOptionArray"), PropertyList(Array{"-Da=x y", "-Db=\"z"}));
    EXPECT_EQ(*info->find("JavaVM")->find("ArgumentArray"), PropertyList(Array{"p", "q r"}));
    // A module, with a runtime that is made for it.
    const std::string modular =
        " --replace --identifier org.example.tool --module org.example.program --module-path " KESTRAV_PROGRAM_JAR
        " --add-modules auto,java.logging --jlink-options '--compress 1' ";
    const std::string tool = "JAVA_HOME=" KESTRAV_JDK " " KESTRAV_TOOL + modular;
    const Outcome module = run(tool, {folder / "made/Tool.app"});
    ASSERT_EQ(module.status, 0) << module.output;
    EXPECT_THAT(module.output,
                testing::AllOf(HasSubstr("what is found by name"), HasSubstr("java.base, java.logging")));
    EXPECT_THAT(run(contents + "MacOS/launcher", {"said"}).output,
                HasSubstr("said\nproperty null\nmodule org.example.p"));
    EXPECT_THAT(contentOf(contents + "PlugIns/jre.bundle/Contents/Home/release"),
                HasSubstr("MODULES=\"java.base java.logging\""));
    const std::string jar = makeJar(folder, "tool-box-1.2.jar", "Main-Class: a.Größe\n");
    EXPECT_THAT(makeTool(folder, {}, "--dry-run --verbose --module tool.box -p " + jar).output,
                HasSubstr("class: a.Größe"));
    // Each option of the documentation's table is among them, in either form.
    std::istringstream page(contentOf(KESTRAV_PACKAGING_PAGE));
    for (std::string line; std::getline(page, line);) {
        if (line.starts_with("| `-")) {
            const std::string option = line.substr(3, line.find_first_of(" `", 3) - 3);
            const std::size_t letter = line.find("`, `-");
            const bool isTried =
                (words + modular).find(" " + option + " ") != std::string::npos ||
                (letter < line.find(" | ") && words.find(line.substr(letter + 4, 2)) != std::string::npos);
            EXPECT_TRUE(isTried) << option;
        }
    }
}

TEST(Tool, MakesTheApplicationOfAMacFromItsTemplate) {
    const TemporaryDirectory folder;
    const std::string program = machCode(2);
    for (const char *file : {"Mac/Contents/MacOS/launcher", "jdk/Contents/Home/bin/java"}) {
        fs::permissions(folder.write(file, program), fs::perms::owner_all);
    }
    folder.write("Mac/Contents/Info.plist", contentOf(KESTRAV_TEMPLATE "/Contents/Info.plist"));
    folder.write("Mac/Contents/Resources/MainWindow.nib", "");
    folder.write("Mac/Contents/Resources/en.lproj/Localizable.strings", "");
    folder.write("jdk/Contents/Home/lib/libjli.dylib", machCode(6));
    const PropertyList info(Dictionary{{"JavaVM", Dictionary{{"JVMVersion", "17.0.9"}}}});
    folder.write("jdk/Contents/Info.plist", info.serialize());
    const std::string words =
        "--template Mac --jar " KESTRAV_PROGRAM_JAR " --runtime jdk/Contents/Home --vm-option -Xdock:x ";
    EXPECT_THAT(makeTool(folder, {}, words + "--add-modules auto").output,
                HasSubstr("--add-modules is for a machine of that kind"));
    const Outcome outcome = makeTool(folder, {}, words);
    EXPECT_THAT(outcome.output, HasSubstr("it was looked at, but not tried"));
    EXPECT_EQ(run("cd " + folder / "Test.app; sh", {"-c", "find . -type f | LC_ALL=C sort"}).output,
              "./Contents/Info.plist\n./Contents/MacOS/launcher\n./Contents/PlugIns/jre.bundle/Contents/Home/bin/java\n"
              "./Contents/PlugIns/jre.bundle/Contents/Home/lib/libjli.dylib\n"
              "./Contents/PlugIns/jre.bundle/Contents/Info.plist\n./Contents/Resources/MainWindow.nib\n"
              "./Contents/Resources/app.icns\n./Contents/Resources/app/program.jar\n./Contents/Resources/en.lproj/"
              "Localizable.strings\n");
    EXPECT_THAT(makeTool(folder, {}, words + "--installer --replace").output, HasSubstr("app/jre.tar.gz ("));
}

TEST(Tool, CodeIsSignedFromTheInsideOut) {
    const TemporaryDirectory folder;
    makeHome(folder, "jdk/Contents/Home");
    const std::string fat("\xCA\xFE\xBA\xBE\0\0\0\1\0\0\0\0\0\0\0\0\0\0\0\x28\0\0\0\0", 24);
    folder.write("jdk/Contents/Home/bin/jcmd", fat + std::string(16, '\0') + machCode(2));
    folder.write("jdk/Contents/Home/lib/jspawnhelper", machCode(2));
    folder.write("jdk/Contents/Home/lib/server/libjvm.dylib", machCode(6));
    folder.write("jdk/Contents/Home/lib/libjli.dylib", machCode(6));
    fs::create_directory(folder / "jdk/Contents/MacOS");
    fs::create_symlink("../Home/lib/libjli.dylib", folder / "jdk/Contents/MacOS/libjli.dylib");
    folder.write("native/helper", machCode(2));
    folder.write("bin/codesign", R"(#!/bin/sh
echo "$*" | sed 's|[^ ]*/new.app|APP|g; s| [^ ]*/signing/| |' >>"${0%/bin/*}/log"
case $* in *entitlements*) grep -q '<true/>' "${0%/bin/*}"/made/.kest*/signing/entitlements || exit 1;; esac
case $* in --verify*) [ -z "$BAD" ] || { echo a sealed resource is missing >&2; exit 3; };; esac
)");
    fs::permissions(folder / "bin/codesign", fs::perms::owner_all);
    fs::create_directory(folder / "made");
    const std::string tool = "cd " + folder / "made; PATH=" + folder / "bin:$PATH " KESTRAV_TOOL;
    const std::vector<std::string> options{"--installer",
                                           "--identifier",
                                           "org.example.tool",
                                           "--jar",
                                           KESTRAV_PROGRAM_JAR,
                                           "--runtime",
                                           folder / "jdk",
                                           "--file",
                                           "../native",
                                           "--runtime-form",
                                           "folder",
                                           "--sign",
                                           "Me",
                                           "Test.app"};
    const Outcome bad = run("export BAD=1; " + tool, options);
    EXPECT_THAT(bad.output, HasSubstr("is not accepted: a sealed resource is missing"));
    EXPECT_THAT(namesIn(folder / "made"), ElementsAre());
    fs::remove(folder / "log");
    const Outcome outcome = run(tool, options);
    EXPECT_EQ(outcome.status, 0) << outcome.output;
    const std::string sign = "--force --options runtime --sign Me --timestamp ";
    const std::string entitled = sign + "--entitlements entitlements ";
    const std::string runtime = "APP/Contents/PlugIns/jre.bundle";
    EXPECT_EQ(contentOf(folder / "log"),
              sign + runtime + "/Contents/Home/lib/server/libjvm.dylib " + runtime +
                  "/Contents/Home/lib/libjli.dylib " + runtime + "/Contents/MacOS/libjli.dylib " +
                  "APP/Contents/Resources/app/native/helper\n" + entitled + runtime + "/Contents/Home/bin/jcmd " +
                  runtime + "/Contents/Home/lib/jspawnhelper\n" + sign + runtime + "\n" + entitled +
                  "APP\n--verify --strict --deep APP\n");
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
