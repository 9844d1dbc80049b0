#include "support/LauncherFixture.h"

#include <gmock/gmock.h>

#include <filesystem>

namespace kestrav::tests {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class OwnRuntime : public LauncherFixture {
protected:
    static constexpr const char *inResources = "Tool.app/Contents/Resources/jre.bundle";
};

TEST_F(OwnRuntime, IsPreferredInThisOrder) {
    configure({{"ksv.baseDir", "$APP_PACKAGE/../base"},
               {"ksv.minVersion", "99"}, // bounds are for others' runtimes
               {"JavaVM", Dictionary{{"SearchSequence", Array{}}}}});
    const std::string base = bundlePath + "/../base/";
    directory.makeDirectory("base/.kestrav/jre");
    EXPECT_EQ(launcher.findJavaBundle(false), base + ".kestrav/jre");
    EXPECT_STREQ(launchGlobals.launchJavaVersion, "1.7.0");
    makeRuntime("base/.kestrav/jre.bundle", "9-ea");
    EXPECT_EQ(launcher.findJavaBundle(false), base + ".kestrav/jre.bundle");
    makeRuntime("Tool.app/Contents/PlugIns/jre.bundle", "11");
    EXPECT_EQ(launcher.findJavaBundle(false), bundlePath + "/Contents/PlugIns/jre.bundle");
    makeRuntime(inResources, "17");
    EXPECT_EQ(launcher.findJavaBundle(false), bundlePath + "/Contents/Resources/jre.bundle");
    EXPECT_STREQ(launchGlobals.launchJavaVersion, "17");
    EXPECT_EQ(launcher.findJavaBundle(true), std::nullopt); // other installations only
}

TEST_F(OwnRuntime, AnybodysIsNotHeeded) {
    configure({{"ksv.baseDir", directory / "base"}, {"JavaVM", Dictionary{{"SearchSequence", Array{}}}}});
    makeRuntime("base/.kestrav/jre.bundle", "17");
    const std::string folder = directory / "base/.kestrav";
    std::filesystem::permissions(folder + "/jre.bundle", std::filesystem::perms::all);
    platform::testing::setDebugLog(false); // what is not heeded is told all the same, but once
    for (int run = 0; run < 2; ++run) {
        EXPECT_EQ(launcher.findJavaBundle(false), std::nullopt);
    }
    EXPECT_EQ(logged("rejected"), Strings{"rejected " + folder + "/jre.bundle: everybody can write to it"});
}

TEST_F(OwnRuntime, OneThatIsRefusedEndsTheSearch) {
    makeRuntime("root/Library/Java/JavaVirtualMachines/jdk-17.jdk", "17");
    directory.makeDirectory(inResources);
    EXPECT_EQ(launcher.findJavaBundle(false), std::nullopt);
    EXPECT_THAT(logged("Running unpacker"), ElementsAre(HasSubstr("/Contents/Resources/jre.bundle/Contents/Home")));
    EXPECT_FALSE(wasLogged("search sequence"));
    EXPECT_THAT(logged("rejected"), ElementsAre(HasSubstr("it declares no version")));
}

TEST_F(OwnRuntime, IsUnpackedTheInnerRuntimeFirst) {
    makeRuntime(inResources, "1.8.0");
    const std::string home = std::string(inResources) + "/Contents/Home";
    const std::string outer = directory / home;
    for (const char *inner : {"", "/jre"}) {
        directory.write(home + inner + "/lib/rt.jar.pack", "packed");
        const std::string tool = directory.write(home + inner + "/bin/unpack200",
                                                 "#!/bin/sh\necho \"$0\" >> '" + outer + "/order' && mv $2 $3\n");
        std::filesystem::permissions(tool, std::filesystem::perms::owner_all);
    }
    EXPECT_NE(launcher.findJavaBundle(false), std::nullopt);
    EXPECT_EQ(platform::contentsOfFile(outer + "/order"), outer + "/jre/bin/unpack200\n" + outer + "/bin/unpack200\n");
}

} // namespace
} // namespace kestrav::tests
