#include "mac_installer/launcher/RuntimeBundle.h"
#include "platform/Exception.h"
#include "platform/FileManager.h"
#include "support/LauncherFixture.h"

#include <gmock/gmock.h>

#include <filesystem>

namespace kestrav::tests {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class Search : public LauncherFixture {
protected:
    OptionalText find(Dictionary info, bool others = false) {
        log.clear();
        configure(std::move(info));
        return findRuntime(others);
    }
    OptionalText findBySequence(Array sequence, Dictionary info = {}) {
        info.emplace("JavaVM", Dictionary{{"SearchSequence", std::move(sequence)}});
        return find(std::move(info));
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
        {{"R" + eight, "R" + eleven, 7}, {}, eight}, // the entry of the wrong type is never reached
        {{"ENO_SUCH", "EJDK", "Y"}, {}, eleven},
        {{"R" + (directory / "${NAME}")}, {}, eight},
        {{"R" + (directory / "missing"), "y", "", "x" + eight, "r" + eight, "Y"}, {}, installed},
        {{"Y", "R" + eight}, {{"ksv.maxVersion", "1.8"}}, eight},
        {{"R" + eight + "/Contents/Home/"}, {}, eight}, // as JAVA_HOME has it on a Mac
        {{}, {}, std::nullopt},
    };
    for (const auto &[sequence, bounds, found] : cases) {
        EXPECT_EQ(findBySequence(sequence, bounds), found) << PropertyList(sequence).description();
    }
    std::filesystem::current_path(directory.path());
    EXPECT_EQ(findBySequence({"Rr8"}), eight); // stays valid in another working directory
    EXPECT_EQ(find({}), installed);            // no sequence counts as a single "Y"
    EXPECT_THAT(logged("search sequence"), ElementsAre("search sequence (null)"));
    EXPECT_EQ(launcher.runtime->launchJavaVersion, "17");
}

TEST_F(Search, InstalledRuntimesAreTriedNewestFirst) {
    for (const char *version : {"1.8.0_202", "11.0.2", "17", "9"}) {
        makeRuntime(std::string(jdks) + (*version == '9' ? "openjdk-" : "jdk-") + version, version);
    }
    directory.write(std::string(jdks) + "zz-not-a-runtime", "");
    const std::string folder = directory / jdks;
    EXPECT_EQ(find({{"ksv.maxVersion", "1.8"}}), folder + "jdk-1.8.0_202");
    EXPECT_THAT(logged("] checking /"),
                ElementsAre("checking " + folder + "jdk-17", "checking " + folder + "jdk-11.0.2",
                            "checking " + folder + "openjdk-9", "checking " + folder + "jdk-1.8.0_202"));
    // A cancel ends the search at the next candidate.
    launcher.checkpoint = [left = 3]() mutable {
        if (--left == 0) {
            throw platform::Exception("Cancelled", "");
        }
    };
    EXPECT_THROW(find({{"ksv.minVersion", "18"}}), platform::Exception);
    EXPECT_THAT(logged("rejected /"), ElementsAre(HasSubstr("jdk-17: version 17 is")));
    launcher.checkpoint = [] {};
    EXPECT_EQ(find({{"ksv.minVersion", "18"}}), std::nullopt);
    EXPECT_THAT(logged("] checking /").back(), "checking " + folder + "zz-not-a-runtime");
}

TEST_F(Search, PlainRuntimeDirectoriesCountByTheirReleaseFile) {
    const std::string jvm = directory / "root/usr/lib/jvm/";
    const auto make = [&](const std::string &name, const std::string &release) {
        directory.write("root/usr/lib/jvm/" + name + "/release", release);
    };
    make("zulu-17", "JAVA_VERSION=\"17.0.9\"\nIMPLEMENTOR=\"Example\"\n");
    make("java-21", "JAVA_VERSION=\"21.0.1\"\nJAVA_RUNTIME_VERSION=\"21.0.1+12-release\"\n");
    make("java-8", "JAVA_VERSION=\"1.8.0_392\"\n");
    make("jdk-24", "JAVA_VERSION=\"24\"\nJAVA_RUNTIME_VERSION=\"24-ea+7\"\n");
    make("jdk-99", "SOURCE=\"\"\n");
    EXPECT_EQ(find({{"ksv.maxVersion", "17"}, {"ksv.vmIdPrefix", "Exam"}}), jvm + "zulu-17");
    EXPECT_EQ(launcher.runtime->javaMajorVersion, 17);
    EXPECT_EQ(find({}), jvm + "java-21");
    EXPECT_THAT(logged("rejected"), ElementsAre("rejected " + jvm + "jdk-24: it is marked as a pre-release: 24-ea"));
    EXPECT_EQ(find({{"ksv.minVersion", "99"}}), std::nullopt);
    EXPECT_THAT(logged("] checking /"),
                ElementsAre("checking " + jvm + "jdk-24", "checking " + jvm + "java-21", "checking " + jvm + "zulu-17",
                            "checking " + jvm + "java-8", "checking " + jvm + "jdk-99"));
    const std::string first = makeRuntime(std::string(jdks) + "jdk-8.jdk", "1.8.0");
    EXPECT_EQ(find({}), first); // the fixed locations come first
}

TEST_F(Search, WhatWasRefusedIsToldAndRecorded) {
    for (const char *version : {"1.8.0", "17", "11.0.2", "16"}) {
        makeRuntime(std::string(jdks) + "jdk-" + version + ".jdk", version);
    }
    findBySequence({"ENO_SUCH", "R/missing", "Y"}, {{"ksv.minVersion", "21"}});
    launcher.displayMissingRuntime();
    const auto line = [&](const std::string &version, const std::string &place) {
        return directory / (std::string(jdks) + "jdk-" + version + ".jdk") + place + ": version " + version +
               " is not within the bounds, minimum 21\n";
    };
    const std::string file = platform::failureLogFile("Tool");
    EXPECT_THAT(notices, ElementsAre(HasSubstr("\n" + line("17", "") + line("16", "") + line("11.0.2", "") + file)));
    const std::string place = " (search entry Y)";
    EXPECT_THAT(platform::contentsOfFile(file).value_or(""),
                HasSubstr("\n  NO_SUCH (search entry ENO_SUCH): the variable is not set\n"
                          "  /missing (search entry R/missing): nothing exists there\n  " +
                          line("17", place) + "  " + line("16", place) + "  " + line("11.0.2", place) + "  " +
                          line("1.8.0", place)));
}

TEST_F(Search, RuntimesForAnotherProcessorAreRefused) {
    // Machines by their numbers in ELF headers: 62 and 3 are one processor with 64 and 32 bits, 183 and 40 another.
    const std::string own = platform::contentsOfFile("/proc/self/exe")->substr(0, 20);
    const auto program = [&](char machine, bool otherByteOrder = false) {
        std::string header = own;
        header[18] = machine;
        header[5] = static_cast<char>(otherByteOrder ? 3 - own[5] : own[5]);
        return header;
    };
    const char ours = own[18];
    const std::string runtime = makeRuntime("jdk", "17");
    const std::string java = "jdk/Contents/Home/bin/java";
    for (const auto &[content, accepted] : {std::pair{own, true},
                                            {program(ours == 62 ? 3 : 40), true},
                                            {"#!/bin/sh\n", true},
                                            {own.substr(0, 18), true},
                                            {program(ours == 62 ? '\xB7' : 62), false},
                                            {program(ours, true), false}}) {
        directory.write(java, content);
        EXPECT_EQ(findBySequence({"R" + runtime}).has_value(), accepted);
    }
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
        EXPECT_EQ(find({{"ksv.maxVersion", "1.8"}}), accepted ? OptionalText(directory / plugin) : std::nullopt);
        EXPECT_EQ(launcher.runtime && launcher.runtime->pluginUsed, accepted);
        EXPECT_EQ(logged("JDKs").empty(), accepted);
    }
    const std::string java = directory / (plugin + std::string("/Contents/Home/bin/java"));
    std::filesystem::remove(java);
    EXPECT_EQ(find({}), directory / (std::string(jdks) + "jdk-17.jdk"));
    // A refused one does not end the sequence, even if nothing else is installed.
    std::filesystem::rename(directory / jdks, directory / "other");
    std::filesystem::create_symlink("/bin/sh", java);
    const std::string other = directory / "other/jdk-17.jdk";
    EXPECT_EQ(findBySequence({"Y", "R" + other}, {{"ksv.minVersion", "17"}}), other);
}

class OwnRuntime : public LauncherFixture {
protected:
    static constexpr const char *inResources = "Tool.app/Contents/Resources/jre.bundle";
};

TEST_F(OwnRuntime, IsPreferredInThisOrder) {
    configure({{"ksv.baseDir", "$APP_PACKAGE/../base"},
               {"ksv.minVersion", "99"}, // bounds do not apply to the application's own runtime
               {"JavaVM", Dictionary{{"SearchSequence", Array{}}}}});
    const std::string base = bundlePath + "/../base/";
    directory.makeDirectory("base/.kestrav/jre");
    EXPECT_EQ(findRuntime(), base + ".kestrav/jre");
    EXPECT_EQ(launcher.runtime->launchJavaVersion, "1.7.0");
    makeRuntime("base/.kestrav/jre.bundle", "9-ea");
    EXPECT_EQ(findRuntime(), base + ".kestrav/jre.bundle");
    makeRuntime("Tool.app/Contents/PlugIns/jre.bundle", "11");
    EXPECT_EQ(findRuntime(), bundlePath + "/Contents/PlugIns/jre.bundle");
    makeRuntime(inResources, "17");
    EXPECT_EQ(findRuntime(), bundlePath + "/Contents/Resources/jre.bundle");
    EXPECT_EQ(launcher.runtime->launchJavaVersion, "17");
    EXPECT_EQ(findRuntime(true), std::nullopt); // other installations only
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
    EXPECT_NE(findRuntime(), std::nullopt);
    EXPECT_EQ(platform::contentsOfFile(outer + "/order"), outer + "/jre/bin/unpack200\n" + outer + "/bin/unpack200\n");
}

class OtherInstallations : public Search {
protected:
    /// Searches the installations in the given directories ("one;two").
    OptionalText findAmong(const std::string &list, Dictionary info = {}, Dictionary registry = {}) {
        registry.emplace("allinstdirsid7", list);
        directory.write("home/.config/kestrav/com.kestrav.installations.plist",
                        PropertyList(Dictionary{{"/com/kestrav/installations/", registry}}).serialize());
        info.emplace("ksv.appId", "id7");
        return find(std::move(info), true);
    }
    const std::string a = directory / "a";
    const std::string b = directory / "b";
};

TEST_F(OtherInstallations, APlainRuntimeDoesNotEndTheSearch) {
    directory.write("a/.kestrav/jre/kestrav_jre_version", "1.8.0_45");
    makeRuntime("b/.kestrav/jre.bundle", "17");
    EXPECT_EQ(findAmong(a), a + "/.kestrav/jre");
    EXPECT_EQ(launcher.runtime->launchJavaVersion, "1.8.0");
    // A later directory's path is reported, its bundle is not looked at, the version stays.
    EXPECT_EQ(findAmong(a + ";" + b), b + "/.kestrav/jre.bundle");
    EXPECT_EQ(launcher.runtime->launchJavaVersion, "1.8.0");
    EXPECT_EQ(findAmong(a, {{"ksv.minVersion", "1.9"}}), std::nullopt);
}

TEST(RuntimeBundle, IsDescribedByItsReleaseFileWithoutAnInfoPlist) {
    const TemporaryDirectory directory;
    const auto opened = [&] { return openRuntime(directory.path())->infoDictionary(); };
    directory.write("Contents/Home/release", "JAVA_VERSION=\"17\"\n");
    EXPECT_EQ(opened(), Dictionary{});
    directory.write("release", "IMPLEMENTOR=\"Maker of \"Java\"\"\r\nX=\"=\"\r\n JAVA_VERSION = 17.0.2 \r\n"
                               "JAVA_RUNTIME_VERSION=\"17.0.2-ea+8-release\"\n");
    EXPECT_EQ(opened(), Dictionary({{"CFBundleIdentifier", "Maker of \"Java\""},
                                    {"EvarVersion", "17.0.2-ea"},
                                    {"JavaVM", Dictionary{{"JVMVersion", "17.0.2"}}}}));
    directory.write("release", "nonsense\n#JAVA_VERSION=1\n=\n\"");
    EXPECT_EQ(opened(), Dictionary{});
    directory.write("release", "JAVA_VERSION=\"17\"\n" + std::string(1 << 20, '\n'));
    EXPECT_THAT(openRuntime(directory.path())->damage().value_or(""),
                testing::HasSubstr("\"release\" cannot be read as UTF-8 text of at most 1 MiB"));
    directory.write("Contents/Info.plist", "<plist><dict/></plist>");
    EXPECT_FALSE(openRuntime(directory.path())->damage());
}

} // namespace
} // namespace kestrav::tests
