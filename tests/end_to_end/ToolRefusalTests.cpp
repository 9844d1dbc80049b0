// What kestrav-bundle refuses to make, and what is left after a failure.

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

using testing::ElementsAre;
using testing::HasSubstr;
using testing::UnorderedElementsAre;

TEST(Tool, NothingIsLeftBehindByAnEndOnTheWay) {
    const TemporaryDirectory folder;
    const std::string home = makeHome(folder);
    folder.write("home/lib/modules", "");
    fs::resize_file(home + "/lib/modules", (std::uintmax_t{1} << 31U) - 1); // takes some time
    const std::string command = std::string(KESTRAV_TOOL) + " --installer --identifier org.example.tool --jar " +
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

/// A PNG image of one pixel.
const std::string smallImage("\211PNG\015\012\032\012\000\000\000\015IHDR\000\000\000\001\000\000\000\001\010\000\000"
                             "\000\000\072\176\233U\000\000\000\012IDATx\234c\140"
                             "\000\000\000\002\000\001H\257\244q\000\000\000\000IEND\256B\140\202",
                             67);

TEST(Tool, WhatWouldNotStartIsRefused) {
    const TemporaryDirectory files;
    const std::string home = makeHome(files);
    files.write("noJava/release", "JAVA_VERSION=\"17\"\n");
    linkFile(KESTRAV_FAKE_JAVA, files / "noVersion/bin/java");
    linkFile(KESTRAV_FAKE_JAVA, files / "machine/bin/java");
    fs::remove(files / "machine/bin/java");
    files.write("machine/bin/java", std::string("\xCF\xFA\xED\xFE", 4) + std::string(60, '\0'));
    fs::permissions(files / "machine/bin/java", fs::perms::owner_all);
    makeHome(files, "huge");
    // A module "m" that requires "s.t", statically, and "n.o".
    files.write(
        "m/module-info.class",
        std::string("\xCA\xFE\xBA\xBE\0\0\0\x35\0\x08\1\0\6Module\1\0\1m\x13\0\2\1\0\3n.o\x13\0\4\1\0\3s.t"
                    "\x13\0\6\0\0\0\0\0\0\0\0\0\0\0\0\0\1\0\1\0\0\0\x14\0\3\0\0\0\0\0\2\0\7\0\x40\0\0\0\5\0\0\0\0",
                    84));
    files.write("huge/modules", "");
    fs::resize_file(files / "huge/modules", std::uintmax_t{1} << 31U);
    makeHome(files, "circle");
    fs::create_directory_symlink("..", files / "circle/lib/up");
    fs::create_directory_symlink(files / "circle", files / "circle/lib/circle");
    const std::string garbage = files.write("text", "no archive");
    files.write("filled/Contents/Resources/app/a.jar", "");
    linkFile(KESTRAV_FAKE_JAVA, files / "filled/Contents/MacOS/launcher");
    const std::string marked = makeJar(files, "marked.jar", "\xEF\xBB\xBFMain-Class: a.Größe\n");
    const std::string cut = files.write("cut.jar", contentOf(marked).substr(0, contentOf(marked).size() - 30));
    makeJar(files, "up.jar", "");
    std::string english = contentOf(KESTRAV_TEMPLATE "/Contents/Resources/en.lproj/Localizable.strings");
    english.insert(english.find("dorvik.InternalError"), "no-");
    ASSERT_EQ(mkfifo((files / "fifo").c_str(), S_IRUSR | S_IWUSR), 0);
    auto info = [&, number = 0](const char *key, const PropertyList &value) mutable {
        return files.write("info" + std::to_string(++number), PropertyList(Dictionary{{key, value}}).serialize());
    };
    const auto javaVM = [&](const char *key, const PropertyList &value) {
        return info("JavaVM", Dictionary{{key, value}});
    };
    const std::string jar = KESTRAV_PROGRAM_JAR;
    using Cases = std::vector<std::pair<std::vector<std::string>, std::string>>;
    Cases cases{
        {{}, "no main class"},
        {{"--main-class", "org.example.Main"}, "is not in the application"},
        {{"--main-class", "no.Such", "--runtime", KESTRAV_JDK}, "no.Such is neither on the class path nor in the run"},
        {{"--jar", files / "fifo"}, "cannot be read"},
        {{"--jar", marked}, "byte-order mark"},
        {{"--jar", makeJar(files, "bell.jar", "Main-Class: a\x1B[2J\n")}, R"(main class a\)"},
        {{"--jar", makeJar(files, "large.jar", std::string(17 << 20U, 'a'))}, "its manifest is larger than 16 MiB"},
        {{"--jar", makeJar(files, "in/it.jar", "Class-Path: ../up.jar\n")}, "../up.jar, which would lie outside"},
        {{"--module", "org.example.prog", "-p", jar}, "org.example.prog is not on the module path"},
        {{"--module", "a", "-p", makeJar(files, "a.jar", "")}, "The module a names no main class"},
        {{"--module", "/org.example.Main"}, "is followed by MODULE or MODULE/CLASS, not /org.example.Main"},
        {{"--module", "m/a.B", "-p", files.path() + "/m"}, "module m requires n.o, which is not on the module path"},
        {{"--main-class", "java.lang.Object", "--add-modules", "auto", "--runtime", KESTRAV_JDK}, "there are none"},
        {{"--jra", jar}, "There is no option --jra"},
    };
    const Cases besideAGoodJar{
        {{"--main-class", "org/example/Main"}, "named with dots"},
        {{"--runtime", KESTRAV_JDK, "--vm-option", "-Xmx1gb"}, "Invalid maximum heap size: -Xmx1gb"},
        {{"--runtime", KESTRAV_JDK, "--file", garbage, "--info",
          javaVM("ModulePath", "$APP_PACKAGE/Contents/Resources/app/text")},
         "Module format not recognized"},
        {{"--class-path", cut}, "cannot be read as a Java archive"},
        {{"--class-path", files / "home/*"}, "no archive in"},
        {{"--class-path", files.write("other/program.jar", "")}, "Two files are named program.jar"},
        {{"--class-path", "${HOME}/x.jar"}, "cannot be on the class path"},
        {{"--class-path", files.write("a:b.jar", "")}, "cannot be on a class path"},
        {{"--file", "/"}, "would contain the application"},
        {{"--file", files / "fifo"}, "neither a file nor a folder"},
        {{"--file", files.write("jre.tar.gz", "")}, "would take a file of this name for the runtime"},
        {{"--jar", jar}, "There is one --jar"},
        {{"--vm-option", "Xmx1g"}, "A VM option begins with \"-\""},
        {{"--vm-option", "--limit-modules"}, "would take the next one for its value"},
        {{"--argument", "\x01"}, "control characters"},
        {{"--name", ""}, "The value of --name must not be empty"},
        {{"--app-content", ","}, "is an empty list"},
        {{"--identifier", "tool"}, "The identifier \"tool\""},
        {{"--icon", files.write("cut.icns", std::string("icns\0\0\0\x09", 8))}, "is not an .icns file"},
        {{"--icon", files.write("old.icns", std::string("icns\0\0\0\x14it32\0\0\0\x0C....", 20))}, "has no PNG image"},
        {{"--icon", files.write("cut.png", "\x89PNG\r\n\x1A\n" + std::string(32, '\0'))}, "is a damaged PNG image"},
        {{"--icon", files.write("huge.png", "\x89PNG\r\n\x1A\n" + std::string(32, 'x'))}, "more than 8192 pixels"},
        {{"--icon", files.write("small.png", smallImage)}, "has only 1 pixels on a side"},
        {{"--icon", files.write("cut.svg", "<svg><g>")}, "a PNG or an SVG image: "},
        {{"--icon", files.write("empty.svg", R"(<svg xmlns="http://www.w3.org/2000/svg"/>)")}, "shows nothing"},
        {{"--language", "fr=" + files.write("fr", english)}, "has no text for \"dorvik.InternalError\""},
        {{"--language", "xx"}, "no messages in xx"},
        {{"--file-type", "q:a b"}, "\"a b\" is not one MIME type"},
        {{"--file-type", ".txt"}, "\".txt\" is not a file's extension"},
        {{"--url-scheme", "1tool:"}, "\"1tool:\" is not the scheme"},
        {{"--max-version", "16"}, "needs Java 17 or newer, but the newest to be taken is 16"},
        {{"--min-version", "8"}, "calls itself 1.8"},
        {{"--min-version", "21", "--max-version", "17"}, "No version is at least 21 and at most 17"},
        {{"--min-version", "17,21"}, "is not a version"},
        {{"--no-search"}, "would find no runtime"},
        {{"--search", "R~/jdk"}, "does not stand for"},
        {{"--search", "X"}, "is not a place to search"},
        {{"--runtime", home, "--runtime-url", "http://x/y"}, "either --runtime or --runtime-url"},
        {{"--runtime", garbage}, "text could not be extracted: it is no archive"},
        {{"--runtime", files / "noJava"}, "has no executable bin/java"},
        {{"--runtime", files / "noVersion"}, "does not declare its version"},
        {{"--runtime", files / "machine"}, "another kind of machine"},
        {{"--runtime", home, "--min-version", "18"}, "version 17.0.9 is not within the bounds"},
        {{"--runtime", files / "none"}, "is neither a folder nor an archive"},
        {{"--runtime", files / "huge"}, "modules\" has 2 GiB or more"},
        {{"--runtime", files / "circle"}, "contains itself"},
        {{"--train"}, "give --runtime as well"},
        {{"--training-time", "5"}, "are for --train"},
        {{"--train", "--training-time", "0", "--runtime", home}, "is a number of seconds"},
        {{"--train", "--runtime", home, "--vm-option", "-Xshare:off"}, "its VM options have -Xshare:off"},
        {{"--train", "--runtime", home, "--class-path", "$X"}, "\"$X\" on its class path leads to"},
        {{"--template", files.path()}, "There is no launcher template"},
        {{"--template", files / "filled"}, "is an application already: it has Contents/Resources/app"},
        {{"--info", garbage}, "not a property list"},
        {{"--info", info("ksv.jreLocation", "x")}, "is not an address"},
        {{"--info", info("CFBundleExecutable", "x")}, "must be launcher"},
        {{"--info", javaVM("VersionSpecificVMOptions", Array{"11-17"})}, "is to have pairs"},
        {{"--info", javaVM("VersionSpecificVMOptions", Array{"17", Array{}})},
         "\"17\", under \"VersionSpecificVMOptions\" in Info.plist, fits no version"},
        {{"--replace=yes"}, "takes no value"},
        {{"--input", files / "none"}, "none cannot be read: No such file"},
        {{"--module", "a"}, "either a module or a class"},
        {{"--runtime", KESTRAV_JDK, "--add-modules", "no.such"}, "jlink refuses: Error: Module no.such not found\n"},
        {{"--runtime", home, "--add-modules", "auto"}, "has no bin/jdeps, which --add-modules needs"},
        {{"--runtime", KESTRAV_JDK, "--add-modules", "x", "--jlink-options", "--output=y"},
         "cannot say where the runtime is made"},
        {{"--jlink-options", "-x"}, "is for a runtime that is made with --add-modules"},
        {{"--type", "dmg"}, "Applications are made here"},
        {{"--dest", "x"}, "One application at a time"},
        {{"--file-associations", garbage}, "names no extension"},
        {{"--file-associations", files.write("code", "#\\\nextension=\\u00g4")}, "without its four hexadecimal digits"},
        {{"--input", "."}, "would contain the application"},
        {{"--working-directory", "data"}, "give a whole path"},
        {{"--splash", garbage}, "neither GIF nor PNG nor JPEG"},
        {{"--options-file", files / "huge"}, "cannot be read as UTF-8 text"},
        {{"--vm-option", "21-17:-Xmx1g"}, "\"21-17\" in --vm-option 21-17:-Xmx1g is not a range"},
        {{"--vm-option", "17:Xmx1g"}, "A VM option begins with"},
        {{"--runtime", KESTRAV_JDK, "--vm-option", "11-17:-Xmx1gb"}, "Invalid maximum heap size: -Xmx1gb"},
        {{"@" + files.write("self", "@" + files / "self")}, "more than a hundred files with options"},
        {{"@" + files / "none"}, "none cannot be read as UTF-8 text"},
        {{"--desktop-entry", "x"}, "ends in \".desktop\""},
        {{"--desktop-entry", "x/y.desktop", "--install-path", "Test.app"}, "is not the path at which"},
        {{"--desktop-entry", "x.desktop", "--install-path", "/a%/Test.app"}, "Desktops start nothing with"},
        {{"--desktop-entry", "x.desktop", "--file-type", "a:b/c"}, "\"b/c\" is not a MIME type"},
        {{"--desktop-entry", "x.desktop", "--file-type", "ü"}, "need a MIME type"},
        {{"--desktop-entry", "Test.app/more/x.desktop", "--file-type", "a"}, "Test.app is already there"},
        {{"--name-in", "de=x"}, "is for the file of --desktop-entry"},
        {{"--sign", "Me"}, "Signing needs macOS's codesign"},
        {{"--entitlements", garbage}, "is for an application that is signed"},
        {{files / "a:b.app"}, "One application at a time"},
    };
    for (auto [options, message] : besideAGoodJar) {
        options.insert(options.begin(), {"--jar", jar});
        cases.emplace_back(options, message);
    }
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
    const std::string words = "--installer --jar " KESTRAV_PROGRAM_JAR " --runtime " + makeHome(folder);
    folder.write("Test.app/precious", "kept");
    EXPECT_THAT(makeTool(folder, {"--replace"}, words).output,
                HasSubstr("is not an application, so it is not replaced"));
    folder.write("Test.app/Contents/Info.plist", "old");
    EXPECT_THAT(makeTool(folder, {}, words).output, HasSubstr("is already there"));
    EXPECT_THAT(makeTool(folder, {"--replace", "--icon", "none"}, words).output, HasSubstr("cannot be read"));
    EXPECT_EQ(contentOf(folder / "Test.app/precious"), "kept");
    // Several runs at once, after one that was killed.
    folder.write(".kestrav-bundle-killed/old/Other.app/Contents/Info.plist", "other");
    folder.write(".kestrav-bundle-killed/old/Test.app/Contents/Info.plist", "older");
    std::vector<std::future<Outcome>> runs(4);
    for (auto &each : runs) {
        each = std::async(std::launch::async, [&] { return makeTool(folder, {"--replace"}, words); });
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
