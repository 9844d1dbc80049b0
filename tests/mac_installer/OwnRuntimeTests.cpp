#include "support/LauncherFixture.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <iostream>

namespace kestrav::tests {
namespace {

using testing::ElementsAre;
using testing::ExitedWithCode;
using testing::HasSubstr;

class OwnRuntime : public LauncherFixture {
protected:
    /// Packed archives that a tool of this script is to unpack.
    void pack(const std::string &home, const std::string &script) {
        directory.write(home + "/lib/rt.jar.pack", "packed");
        const std::string tool = directory.write(home + "/bin/unpack200", "#!/bin/sh\n" + script + "\n");
        std::filesystem::permissions(tool, std::filesystem::perms::owner_all);
    }
    /// For a search that ends the process: the notice goes where the death test sees it.
    void findAndEnd() {
        platform::testing::setNotice([](std::string_view, std::string_view message) { std::cerr << message << "\n"; });
        launcher.findJavaBundle(false);
    }
    static constexpr const char *inResources = "Tool.app/Contents/Resources/jre.bundle";
};

TEST_F(OwnRuntime, IsPreferredInThisOrder) {
    Dictionary info{{"ksv.baseDir", "$APP_PACKAGE/../base"},
                    {"ksv.minVersion", "99"}, // bounds are for others' runtimes
                    {"JavaVM", Dictionary{{"SearchSequence", Array{}}}}};
    configure(info);
    const std::string base = bundlePath + "/../base/";
    directory.makeDirectory("base/.kestrav/jre");
    EXPECT_EQ(launcher.findJavaBundle(false), base + ".kestrav/jre");
    EXPECT_STREQ(launchGlobals.launchJavaVersion, "1.7.0");
    EXPECT_EQ(launcher.javaBundle, nullptr);
    makeRuntime("base/.kestrav/jre.bundle", "9-ea");
    EXPECT_EQ(launcher.findJavaBundle(false), base + ".kestrav/jre.bundle");
    makeRuntime("Tool.app/Contents/PlugIns/jre.bundle", "11");
    EXPECT_EQ(launcher.findJavaBundle(false), bundlePath + "/Contents/PlugIns/jre.bundle");
    makeRuntime(inResources, "17");
    EXPECT_EQ(launcher.findJavaBundle(false), bundlePath + "/Contents/Resources/jre.bundle");
    EXPECT_STREQ(launchGlobals.launchJavaVersion, "17");
    EXPECT_EQ(launcher.findJavaBundle(true), std::nullopt); // other installations only
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
    const std::string script = R"(echo "$0" >> ")" + (directory / "order") + R"(" && mv "$2" "$3")";
    pack(home, script);
    pack(home + "/jre", script);
    EXPECT_NE(launcher.findJavaBundle(false), std::nullopt);
    EXPECT_TRUE(std::filesystem::exists(directory / (home + "/lib/rt.jar")));
    EXPECT_TRUE(std::filesystem::exists(directory / (home + "/jre/lib/rt.jar")));
    EXPECT_FALSE(std::filesystem::exists(directory / (home + "/lib/rt.jar.pack")));
    std::ifstream order(directory / "order");
    std::string first;
    std::getline(order, first);
    EXPECT_EQ(first, directory / (home + "/jre/bin/unpack200"));
}

TEST_F(OwnRuntime, OneThatCannotBeUnpackedEndsTheProcess) {
    makeRuntime(inResources, "1.8.0");
    const std::string home = std::string(inResources) + "/Contents/Home";
    pack(home, "exit 3");
    directory.write("Tool.app/Contents/Resources/en.lproj/Localizable.strings",
                    "\"dorvik.InternalError\" = \"Internal: %@\"; NonWritablePackDir = \"Not writable\";");
    EXPECT_EXIT(findAndEnd(), ExitedWithCode(1), "Internal: could not run unpack200");
    EXPECT_FALSE(std::filesystem::exists(directory / (home + "/_ksv_testdir")));
    directory.write(home + "/_ksv_testdir", ""); // a probe that is there counts as not writable
    EXPECT_EXIT(findAndEnd(), ExitedWithCode(1), "Not writable");
    EXPECT_TRUE(std::filesystem::exists(directory / (home + "/_ksv_testdir")));
}

} // namespace
} // namespace kestrav::tests
