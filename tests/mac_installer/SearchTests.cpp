#include "platform/Exception.h"
#include "support/LauncherFixture.h"

#include <gmock/gmock.h>

#include <filesystem>

namespace kestrav::tests {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class Search : public LauncherFixture {
protected:
    OptionalText find(Dictionary info, bool others = false) {
        log.clear();
        configure(std::move(info));
        return launcher.findJavaBundle(others);
    }
    OptionalText findBySequence(Array sequence, Dictionary info = {}) {
        info.emplace("JavaVM", Dictionary{{"SearchSequence", std::move(sequence)}});
        return find(std::move(info));
    }
    void expectNothingFound() {
        EXPECT_EQ(launcher.javaBundlePath, std::nullopt);
        EXPECT_EQ(launcher.javaBundle, nullptr);
        EXPECT_EQ(launchGlobals.launchJavaVersion, nullptr);
        EXPECT_FALSE(launcher.pluginUsed);
    }
    static constexpr const char *jdks = "root/Library/Java/JavaVirtualMachines/";
    static constexpr const char *plugin = "root/Library/Internet Plug-Ins/JavaAppletPlugin.plugin";
};

TEST_F(Search, TheSequenceIsTriedInOrder) {
    const std::string eight = makeRuntime("r8", "1.8.0_202");
    const std::string eleven = makeRuntime("r11", "11.0.2");
    const std::string installed = makeRuntime(jdks + std::string("jdk-17.jdk"), "17");
    setEnvironment({{"JDK", eleven}, {"NAME", "r8"}});
    struct Case {
        Array sequence;
        Dictionary bounds;
        OptionalText found;
    };
    const Case cases[] = {
        {{"R" + eight, "R" + eleven}, {}, eight},
        {{"R" + eight, "R" + eleven}, {{"ksv.minVersion", "9"}}, eleven},
        {{"ENO_SUCH", "EJDK", "Y"}, {}, eleven},
        {{"R" + (directory / "${NAME}")}, {}, eight},
        {{"R" + (directory / "missing"), "y", "", "x" + eight, "r" + eight, "Y"}, {}, installed},
        {{"Yignored"}, {}, installed},
        {{"Y", "R" + eight}, {{"ksv.maxVersion", "1.7"}}, std::nullopt},
        {{"Y", "R" + eight}, {{"ksv.maxVersion", "1.8"}}, eight},
        {{}, {}, std::nullopt},
    };
    for (const auto &[sequence, bounds, found] : cases) {
        EXPECT_EQ(findBySequence(sequence, bounds), found) << PropertyList(sequence).description();
        EXPECT_EQ(launcher.javaBundlePath, found);
        EXPECT_EQ(launcher.javaBundle != nullptr, found.has_value());
        EXPECT_EQ(launchGlobals.launchJavaVersion != nullptr, found.has_value());
    }
    EXPECT_EQ(find({}), installed); // no sequence is a single "Y"
    EXPECT_THAT(logged("search sequence"), ElementsAre("search sequence (null)"));
    EXPECT_STREQ(launchGlobals.launchJavaVersion, "17");
}

TEST_F(Search, ARelativeDirectoryOutlivesTheWorkingDirectory) {
    const std::string runtime = makeRuntime("jdk", "17");
    std::filesystem::current_path(directory.path());
    EXPECT_EQ(findBySequence({"Rjdk"}), runtime);
    std::filesystem::current_path("/");
}

TEST_F(Search, EveryRefusalIsExplained) {
    const std::string runtime = makeRuntime("jdk", "17-ea", {{"CFBundleIdentifier", "org.other"}});
    directory.write("file", "");
    directory.makeDirectory("empty");
    struct Case {
        std::string path;
        Dictionary info;
        const char *reason;
    };
    const Case cases[] = {
        {runtime, {}, "17-ea is a pre-release"},
        {runtime, {{"ksv.vmIdPrefix", "com."}}, "its identifier org.other does not begin with com."},
        {runtime,
         {{"ksv.allowBeta", "YES"}, {"ksv.minVersion", "18"}},
         "version 17-ea is not within the bounds, minimum 18"},
        {directory / "file", {}, "it is no directory that can be opened"},
        {directory / "empty", {}, "it declares no version"},
        {directory / "missing", {}, "nothing exists there"},
    };
    for (const auto &[path, info, reason] : cases) {
        EXPECT_EQ(findBySequence({"R" + path}, info), std::nullopt);
        EXPECT_THAT(logged("rejected "), ElementsAre(HasSubstr("rejected " + path + ": " + reason)));
        expectNothingFound();
    }
    findBySequence({"ENO_SUCH"});
    EXPECT_THAT(logged("rejected "), ElementsAre("rejected NO_SUCH: the variable is not set"));
}

TEST_F(Search, InstalledRuntimesAreTriedNewestFirst) {
    for (const auto &[name, version] : {std::pair{"jdk1.8.0_202.jdk", "1.8.0_202"},
                                        {"jdk-11.0.2.jdk", "11.0.2"},
                                        {"openjdk-17.jdk", "17"},
                                        {"jdk-9.jdk", "9"}}) {
        makeRuntime(std::string(jdks) + name, version);
    }
    directory.write(std::string(jdks) + "zz-not-a-runtime", "");
    const std::string folder = directory / jdks;
    EXPECT_EQ(find({{"ksv.maxVersion", "1.8"}}), folder + "jdk1.8.0_202.jdk");
    EXPECT_THAT(logged("] checking /"),
                ElementsAre("checking " + folder + "openjdk-17.jdk", "checking " + folder + "jdk-11.0.2.jdk",
                            "checking " + folder + "jdk-9.jdk", "checking " + folder + "jdk1.8.0_202.jdk"));
    EXPECT_THAT(logged("JDKs"), ElementsAre(HasSubstr("JDKs (\n    \"openjdk-17.jdk\",\n    \"jdk-11")));
    EXPECT_EQ(find({{"ksv.minVersion", "18"}}), std::nullopt);
    EXPECT_THAT(logged("] checking /").back(), "checking " + folder + "zz-not-a-runtime");
    expectNothingFound();
}

TEST_F(Search, PlainRuntimeDirectoriesCountByTheirReleaseFile) {
    directory.write("root/usr/lib/jvm/java-17/release", "JAVA_VERSION=\"17.0.9\"\nIMPLEMENTOR=\"Example\"\n");
    directory.write("root/usr/lib/jvm/java-21/release", "JAVA_VERSION=\"21.0.1\"\n");
    directory.write("root/usr/lib/jvm/.java-21.jinfo", "");
    EXPECT_EQ(find({{"ksv.maxVersion", "17"}, {"ksv.vmIdPrefix", "Exam"}}), directory / "root/usr/lib/jvm/java-17");
    EXPECT_EQ(launcher.javaMajorVersion, 17);
    EXPECT_EQ(find({}), directory / "root/usr/lib/jvm/java-21");
    const std::string first = makeRuntime(std::string(jdks) + "jdk-8.jdk", "1.8.0");
    EXPECT_EQ(find({}), first); // the fixed locations come first
}

TEST_F(Search, ThePluginComesFirstIfItIsTheRightOne) {
    makeRuntime(std::string(jdks) + "jdk-17.jdk", "17");
    struct Case {
        Dictionary info;
        bool accepted;
    };
    const Case cases[] = {
        {{{"CFBundleIdentifier", "com.oracle.java"}, {"CFBundleVersion", "1.8.202.08"}}, true},
        {{{"CFBundleIdentifier", "org.x"}, {"CFBundleGetInfoString", "By Oracle"}, {"CFBundleVersion", "1.8.202.08"}},
         true},
        {{{"CFBundleGetInfoString", "by oracle"}, {"CFBundleVersion", "1.8.202.08"}}, false},
        {{{"CFBundleIdentifier", "com.oracle"}, {"CFBundleVersion", "1.9"}}, false},
    };
    directory.write(plugin + std::string("/Contents/Home/bin/java"), "");
    for (const auto &[info, accepted] : cases) {
        directory.write(plugin + std::string("/Contents/Info.plist"), PropertyList(info).serialize());
        EXPECT_EQ(find({{"ksv.maxVersion", "1.8"}}).has_value(), accepted);
        EXPECT_EQ(launcher.pluginUsed, accepted);
        EXPECT_EQ(launcher.javaBundlePath, accepted ? OptionalText(directory / plugin) : std::nullopt);
        EXPECT_EQ(logged("JDKs").empty(), accepted);
    }
    std::filesystem::remove(directory / (plugin + std::string("/Contents/Home/bin/java")));
    EXPECT_EQ(find({}), directory / (std::string(jdks) + "jdk-17.jdk"));
    EXPECT_FALSE(wasLogged("JavaAppletPlugin"));
}

TEST_F(Search, AConfigurationOfTheWrongTypeRaises) {
    EXPECT_THROW(findBySequence({"Y", 7}), platform::Exception);
    EXPECT_NE(findBySequence({"R" + makeRuntime("good", "17"), 7}), std::nullopt); // its turn never comes
    EXPECT_THROW(find({{"JavaVM", Dictionary{{"SearchSequence", "Y"}}}}), platform::Exception);
    EXPECT_THROW(find({{"ksv.minVersion", 1.8}}), platform::Exception);
    EXPECT_THROW(find({{"ksv.allowBeta", Array{}}}), platform::Exception);
}

class OtherInstallations : public Search {
protected:
    /// Searches the installations in the given directories ("one;two", below the temporary folder).
    OptionalText findAmong(const Strings &directories, const Dictionary &bundleNames = {}, Dictionary info = {}) {
        std::string list;
        Dictionary registry;
        for (const std::string &name : directories) {
            list += (name.empty() ? "" : directory / name) + ";";
            if (const auto found = bundleNames.find(name); found != bundleNames.end()) {
                registry.emplace("singleBundleNameid7_" + (directory / name), found->second);
            }
        }
        list.pop_back();
        registry.emplace("allinstdirsid7", list);
        directory.write("home/.config/kestrav/com.kestrav.installations.plist",
                        PropertyList(Dictionary{{"/com/kestrav/installations/", registry}}).serialize());
        info.emplace("ksv.appId", "id7");
        return find(std::move(info), true);
    }
};

TEST_F(OtherInstallations, AreSearchedInOrder) {
    const std::string single = makeRuntime("a/App.app/Contents/PlugIns/jre.bundle", "11");
    const std::string plainBundle = makeRuntime("b/.kestrav/jre.bundle", "17");
    EXPECT_EQ(findAmong({"a", "b"}, {{"a", "App.app"}}), single);
    EXPECT_EQ(findAmong({"a", "b"}), plainBundle);
    EXPECT_EQ(findAmong({"a", "b"}, {{"a", "App.app"}}, {{"ksv.minVersion", "12"}}), plainBundle);
    EXPECT_EQ(findAmong({"", "b"}), plainBundle);
    EXPECT_THAT(logged("] checking"), ElementsAre("checking /.kestrav/jre.bundle", "checking " + plainBundle));
    EXPECT_EQ(findAmong({"none"}), std::nullopt);
    expectNothingFound();
}

TEST_F(OtherInstallations, APlainRuntimeDoesNotEndTheSearch) {
    directory.write("a/.kestrav/jre/kestrav_jre_version", "1.8.0_45");
    makeRuntime("b/.kestrav/jre.bundle", "17");
    directory.write("old/.kestrav/jre/kestrav_jre_version", "1.6");
    directory.makeDirectory("dir/.kestrav/jre/kestrav_jre_version");
    EXPECT_EQ(findAmong({"a"}), directory / "a/.kestrav/jre");
    EXPECT_EQ(launcher.javaBundle, nullptr);
    EXPECT_STREQ(launchGlobals.launchJavaVersion, "1.8.0");
    // A later directory's path is reported, its bundle is not looked at, the version stays.
    EXPECT_EQ(findAmong({"a", "b"}), directory / "b/.kestrav/jre.bundle");
    EXPECT_STREQ(launchGlobals.launchJavaVersion, "1.8.0");
    EXPECT_EQ(findAmong({"a", "old"}, {}, {{"ksv.minVersion", "1.8"}}), std::nullopt);
    EXPECT_EQ(findAmong({"dir"}), std::nullopt);
    expectNothingFound();
}

TEST_F(OtherInstallations, WithoutRegistryOrIdNothingIsTried) {
    EXPECT_EQ(find({{"ksv.appId", "id7"}}, true), std::nullopt);
    EXPECT_THAT(log, ElementsAre("-[Launcher findJavaBundle:] [Line 528] (null)"));
    findAmong({"a"});
    EXPECT_EQ(find({}, true), std::nullopt);
    EXPECT_EQ(find({{"ksv.appId", "other"}}, true), std::nullopt);
    EXPECT_THAT(logged("] checking"), IsEmpty());
}

} // namespace
} // namespace kestrav::tests
