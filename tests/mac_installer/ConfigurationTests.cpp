#include "mac_installer/launcher/failure.h"
#include "platform/DebugLog.h"
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
    std::vector<Dictionary> cases{{{"StartOnMainThread", Array{}}},
                                  {{"VMOptionArray", Array{"-a", 7}}},
                                  {{"VersionSpecificVMOptions", Array{17, Array{}}}},
                                  {{"VersionSpecificVMOptions", Array{"17-17", true}}}};
    for (const char *key : {"WorkingDirectory", "ClassPath", "OptionsFile", "SplashFile", "ModulePath", "MainClass",
                            "VMOptionArray", "VersionSpecificVMOptions", "ArgumentArray"}) {
        cases.push_back({{key, 7}});
    }
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

class Messages : public LauncherFixture {
protected:
    std::string shown(std::string_view key, const OptionalText &a = {}, const OptionalText &b = {}) {
        notices.clear();
        Launcher::displayError(key, a, b);
        return notices.empty() ? "nothing" : notices.front();
    }
};

TEST_F(Messages, AreFilledOnlyWithAFirstArgument) {
    configure({{"CFBundleName", "Tool"}});
    directory.write("Tool.app/Contents/Resources/en.lproj/Localizable.strings",
                    R"("one" = "is 100%d %@"; "two" = "%2$@ needs %1$@, not %3$@";
                       "dorvik.InternalError" = "Oh: %@.";)");
    EXPECT_EQ(shown("one"), "Tool: is 100%d %@");
    EXPECT_EQ(shown("two", "17", "App %@"), "Tool: App %@ needs 17, not (null)");
    EXPECT_EQ(shown("two", "17"), "Tool: (null) needs 17, not (null)");
    EXPECT_EQ(shown("No such key"), "Tool: No such key");
    // The text around it ends the sentence.
    reportFailure("f", 1, platform::Exception("Name", "There is a stop."));
    EXPECT_EQ(notices.back(), "Tool: Oh: There is a stop.");
}

TEST_F(Messages, AMissingRuntimeIsToldWithTheVersionsThatWillDo) {
    const std::string all = R"("JavaMaxVersionError" = "max %3$@";)";
    const std::string usual = R"("AppleJavaMinVersionError" = "min %1$@ %2$@ %3$@";)";
    struct Case {
        const std::string &table;
        Dictionary bounds;
        const char *message;
    };
    const Case cases[] = {
        {all, {{"ksv.minVersion", ""}, {"ksv.maxVersion", "11"}}, "max 11"},
        {usual, {{"ksv.maxVersion", "11"}}, "min %1$@ %2$@ %3$@"},
        {usual, {{"ksv.minVersion", "8"}, {"ksv.maxVersion", "11"}}, "min 8 Tool 11"},
    };
    for (auto [table, info, message] : cases) {
        directory.write("Tool.app/Contents/Resources/en.lproj/Localizable.strings", table);
        info.emplace("CFBundleName", "Tool");
        configure(info);
        notices.clear();
        launcher.displayMissingRuntime();
        EXPECT_EQ(notices, Strings{std::string("Tool: ") + message});
    }
    // Of the refused runtimes the one with the highest version is named.
    Array sequence{"R" + directory.makeDirectory("bare"), "R" + directory.write("file", "")};
    for (const char *version : {"1.8.0_202", "17.0.9", "9"}) {
        sequence.emplace_back("R" + makeRuntime(version, version));
    }
    configure({{"ksv.minVersion", "21"}, {"JavaVM", Dictionary{{"SearchSequence", sequence}}}});
    EXPECT_EQ(launcher.findJavaBundle(false), std::nullopt);
    launcher.displayMissingRuntime();
    EXPECT_EQ(notices.back(), ": min 21 (null) (null)\n" + (directory / "17.0.9") +
                                  ": version 17.0.9 is not within the bounds, minimum 21");
}

TEST_F(Messages, SurviveAConfigurationOfTheWrongType) {
    configure({{"CFBundleName", 7}, {"ksv.baseDir", Array{}}});
    EXPECT_EQ(shown("key"), ": key");
}

TEST_F(Messages, TheDebugLogIsDecidedOnceAndExactly) {
    for (const char *value : {"yes", "yes ", ""}) {
        platform::testing::setDebugLog(std::nullopt);
        setEnvironment({{"KESTRAV_LOG", value}});
        log.clear();
        _DLog("%s [Line %d] first", "f", 1);
        setEnvironment({{"KESTRAV_LOG", value == std::string("yes") ? "no" : "yes"}});
        _DLog("%s [Line %d] second", "f", 2);
        EXPECT_EQ(log.size(), value == std::string("yes") ? 2U : 0U) << value;
    }
}

} // namespace
} // namespace kestrav::tests
