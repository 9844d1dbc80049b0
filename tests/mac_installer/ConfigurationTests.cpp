#include "platform/Exception.h"
#include "support/LauncherFixture.h"

#include <gmock/gmock.h>

#include <filesystem>

namespace kestrav::tests {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

class Configuration : public LauncherFixture {
protected:
    ~Configuration() override { std::filesystem::current_path("/"); }

    JavaParameters readConfiguration(Dictionary javaVM = {}, Dictionary info = {}) {
        info.emplace("JavaVM", std::move(javaVM));
        configure(std::move(info));
        return launcher.readJavaParameters(platform::FileManager());
    }
};

TEST_F(Configuration, WhatIsAlwaysThereAndWhatOnlyMacRuntimesKnow) {
    platform::testing::setArguments({"Tool", "-J-Xmx1g"});
    auto parameters = readConfiguration();
    EXPECT_THAT(parameters.options, ElementsAre("-Xdock:name=(null)", "-Dksv.ownBundlePath=" + bundlePath));
    EXPECT_THAT(parameters.args, ElementsAre("-J-Xmx1g"));
    EXPECT_EQ(parameters.mainClass, std::nullopt);
    EXPECT_FALSE(parameters.firstThread);
    EXPECT_EQ(std::filesystem::current_path(), bundlePath);

    parameters = readConfiguration({{"StartOnMainThread", true}, {"MainClass", "com.example.Main"}},
                                   {{"CFBundleIconFile", "app.icns"}, {"CFBundleName", "Tool Name"}});
    EXPECT_THAT(parameters.options, ElementsAre("-Xdock:icon=" + bundlePath + "/Contents/Resources/app.icns",
                                                "-Xdock:name=Tool Name", "-Dksv.ownBundlePath=" + bundlePath));
    EXPECT_EQ(parameters.mainClass, "com.example.Main");
    EXPECT_TRUE(parameters.firstThread);
}

TEST_F(Configuration, TheSiblingFileLosesThreeCharactersWhateverTheyAre) {
    for (const auto &[bundle, sibling] : {std::pair{"A.app", "A.vmoptions"},
                                          {"Plain", "Plvmoptions"},
                                          {"x\u00e4\u00f6\u00fc", "xvmoptions"},
                                          {"xy\U0001F600", "xvmoptions"}}) {
        directory.makeDirectory(bundle);
        directory.write(sibling, "-from-sibling");
        platform::testing::setMainBundle(directory / bundle);
        EXPECT_THAT(launcher.readJavaParameters(platform::FileManager()).options, Contains("-from-sibling")) << bundle;
    }
}

TEST_F(Configuration, TheFirstMatchingVersionPatternCounts) {
    struct Case {
        const char *version;
        int major;
        Array entries;
        Strings expected;
    };
    const Array a{"-a"};
    const Array b{"-b"};
    const Case cases[] = {
        {"11.0.2", 11, {"9-10", a, "11-17", b}, {"-b"}},
        {"11.0.2", 11, {"11-11", a, "11-17", b}, {"-a"}},
        {"1.8.0_202", 8, {"*1.8", a, "*1.?.0_20?", b}, {"-b"}},
        {"1.8.0_202", 8, {"9-10", a, "8-8"}, {}}, // the odd last entry has no options
        {"1.8.0_202", 8, {"8", a}, {}},
        {"0", 0, {"x-", a}, {"-a"}},
    };
    for (const auto &[version, major, entries, expected] : cases) {
        launcher.javaVersion = version;
        launcher.javaMajorVersion = major;
        auto options = readConfiguration({{"VersionSpecificVMOptions", entries}}).options;
        options.resize(options.size() - 2);
        EXPECT_EQ(options, expected) << version << " " << PropertyList(entries).description();
    }
    EXPECT_THAT(logged("ERROR in version"), Contains("ERROR in version specific options 8"));
}

TEST_F(Configuration, TheLanguageIsSetUnlessItIsAlready) {
    directory.write("home/.config/kestrav/.GlobalPreferences.plist",
                    PropertyList(Dictionary{{"AppleLocale", "fr_CA@calendar=buddhist"}}).serialize());
    const auto &process = platform::ProcessInfo::processInfo();
    const auto &readByAnotherThread = process.environment();
    readConfiguration();
    EXPECT_EQ(process.environmentVariable("LANG"), "fr_CA.UTF-8");
    EXPECT_EQ(readByAnotherThread.count("LANG"), 0U);
    EXPECT_FALSE(wasLogged("Tool.vmoptions: ")) << "a file that need not be there";
}

TEST_F(Configuration, AValueOfTheWrongTypeIsNamed) {
    launcher.javaVersion = "17";
    launcher.javaMajorVersion = 17;
    const Dictionary cases[] = {{{"WorkingDirectory", 7}},
                                {{"ClassPath", 7}},
                                {{"OptionsFile", 7}},
                                {{"SplashFile", 7}},
                                {{"ModulePath", 7}},
                                {{"MainClass", 7}},
                                {{"StartOnMainThread", Array{}}},
                                {{"VMOptionArray", Array{"-a", 7}}},
                                {{"VMOptionArray", "text"}},
                                {{"VersionSpecificVMOptions", "text"}},
                                {{"VersionSpecificVMOptions", Array{17, Array{}}}},
                                {{"VersionSpecificVMOptions", Array{"17-17", true}}},
                                {{"ArgumentArray", "text"}}};
    for (const Dictionary &javaVM : cases) {
        try {
            readConfiguration(javaVM);
            ADD_FAILURE() << javaVM.begin()->first;
        } catch (const platform::Exception &exception) {
            EXPECT_THAT(exception.reason(), HasSubstr(javaVM.begin()->first));
        }
    }
}

TEST_F(Configuration, TheCommandLineHasWhatThisPlatformsRuntimesKnow) {
    launcher.javaBundlePath = "/opt/jdk";
    const JavaParameters parameters{{"-Xdock:name=x", "-a", "-XstartOnFirstThread"}, "Main", {"-Xdock:name=y"}, false};
    EXPECT_THAT(
        launcher.commandLine(parameters, "/tmp/jre.tar.gz"),
        ElementsAre("-a", "-Dksv.jreBundle=/opt/jdk", "-Dksv.tarFile=/tmp/jre.tar.gz", "Main", "-Xdock:name=y"));
    EXPECT_THAT(launcher.commandLine(parameters, std::nullopt), Not(Contains(HasSubstr("tarFile"))));
    EXPECT_TRUE(wasLogged("left out -XstartOnFirstThread"));
    EXPECT_THROW(static_cast<void>(launcher.commandLine({}, std::nullopt)), platform::Exception); // no class
}

} // namespace
} // namespace kestrav::tests
