// What kestrav-bundle puts into applications, from files, manifests and its options.

#include "Tool.h"

#include <gmock/gmock.h>

#include <sstream>

namespace kestrav::tests {
namespace {

using testing::HasSubstr;
using testing::UnorderedElementsAre;

/// An icon file with an empty image.
const std::string icon("icns\0\0\0\x2Cic07\0\0\0\x24"
                       "\x89PNG\r\n\x1A\n\0\0\0\x0DIHDR\0\0\0\x80IEND\xAE\x42\x60\x82",
                       44);

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

TEST(Tool, TakesTheOptionsOfTheJdksPackagingTool) {
    const TemporaryDirectory folder;
    makeJar(folder, "in/a.jar", "");
    folder.write("x.icns", icon);
    folder.write("association", "# a comment\\\nextension = tl, \\u0074m\n\nmime-type \\\r\n : application\\/x-tl\n"
                                "  description:A \\\n tool\n");
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
        " --add-modules auto,java.logging --jlink-options '--release-info add:note=kept' ";
    const std::string tool = "JAVA_HOME=" KESTRAV_JDK " " KESTRAV_TOOL + modular;
    const Outcome module = run(tool, {folder / "made/Tool.app"});
    ASSERT_EQ(module.status, 0) << module.output;
    EXPECT_THAT(module.output, testing::AllOf(HasSubstr("what is found by name"),
                                              HasSubstr("java.base, java.logging, java.transaction.xa")));
    EXPECT_THAT(run(contents + "MacOS/launcher", {"said"}).output,
                HasSubstr("said\nproperty null\nmodule org.example.p"));
    EXPECT_THAT(contentOf(contents + "PlugIns/jre.bundle/Contents/Home/release"),
                HasSubstr("MODULES=\"java.base java.logging java.transaction.xa\"\nnote=kept\n"));
    makeJar(folder, "mods/tool-box-1.2.jar", "Main-Class: a.Größe\n");
    EXPECT_THAT(makeTool(folder, {}, "--dry-run --verbose --input mods --module tool.box -p .").output,
                testing::AllOf(HasSubstr("class: a.Größe"), testing::Not(HasSubstr("app/mods"))));
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

} // namespace
} // namespace kestrav::tests
