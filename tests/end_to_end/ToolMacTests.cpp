// The applications for a Mac that kestrav-bundle makes on any machine, and how it signs them.

#include "Tool.h"

#include <gmock/gmock.h>

namespace kestrav::tests {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

/// The beginning of a file with code for a Mac: 2 is a program, 6 a library.
std::string machCode(char type) {
    return std::string("\xCF\xFA\xED\xFE\0\0\0\0\0\0\0\0", 12) + type + std::string(20, '\0');
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

} // namespace
} // namespace kestrav::tests
