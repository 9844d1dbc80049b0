// What the child is given and what becomes of its end.

#include "Launch.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>

namespace kestrav::tests {
namespace {

using testing::ElementsAre;

TEST(Process, ExitStatusIsTheChilds) {
    const AppBundle bundle;
    struct Case {
        const char *end;
        int number;
        int status;
    };
    const Case cases[] = {{"FAKE_EXIT", 1, 1},        {"FAKE_EXIT", 127, 127},    {"FAKE_EXIT", 255, 255},
                          {"FAKE_DIE", SIGKILL, 137}, {"FAKE_DIE", SIGSEGV, 139}, {"FAKE_DIE", SIGTERM, 143}};
    Launches runs;
    for (const Case &each : cases) {
        runs.push_back(
            std::make_unique<Launch>(bundle, Start{.environment = {{each.end, std::to_string(each.number)}}}));
    }
    for (std::size_t i = 0; i < runs.size(); ++i) {
        EXPECT_EQ(runs[i]->wait(), cases[i].status);
        EXPECT_EQ(runs[i]->errors(), "");
    }
}

TEST(Process, CommandLineIsConfigurationThenArguments) {
    AppBundle bundle;
    bundle.folder().write("Test.vmoptions", "-Dfrom=sibling\n-classpath/a two.jar");
    bundle.folder().write("archives/one.jar", "");
    bundle.javaVM["ClassPath"] = text(bundle.folder() / "archives/*");
    bundle.javaVM["VMOptionArray"] = array({text("-Dfrom=array"), text("-XstartOnFirstThread")});
    bundle.javaVM["ArgumentArray"] = array({text("${launcher:sys.jvmHome}"), text("")});
    bundle.info["ksv.allowPassthrough"] = "<true/>";
    bundle.info["CFBundleIconFile"] = text("app.icns");
    const std::string strange = "\xFF \xC3( 'quoted' \"${HOME}\" $APP_PACKAGE\n%@ %n\\";
    Launch run(bundle, {.arguments = {"-psn_0_1", "-J-Xmx2g", "", "-q", strange}});
    const std::string home = bundle.runtime() + "/Contents/Home";
    EXPECT_THAT(run.report().arguments,
                ElementsAre(home + "/bin/java", "-Dfrom=array", "-Dfrom=sibling",
                            "-Djava.class.path=" + (bundle.folder() / "archives/one.jar") + ":two.jar",
                            "-Dksv.ownBundlePath=" + bundle.path(), "-Xmx2g", "-Dksv.jreBundle=" + bundle.runtime(),
                            "org.example.Main", home, "", "", "-q", strange));
}

TEST(Process, ChildStartsClean) {
    const AppBundle bundle;
    const TemporaryDirectory configuration;
    configuration.write("kestrav/.GlobalPreferences.plist", propertyList(dictionary({{"AppleLocale", text("de_DE")}})));
    const std::map<std::string, std::string> environment{
        {"XDG_CONFIG_HOME", configuration.path()}, {"EMPTY", ""}, {"STRANGE", "a=b\n${EMPTY}\xFF"}};
    Launch run(bundle, {.environment = environment, .signalsIgnored = true});
    const Report report = run.report();
    EXPECT_THAT(report.descriptors, ElementsAre("0", "1", "2"));
    EXPECT_THAT(report.signals, ElementsAre("1", "15", "2", "3")); // those that were ignored, and none blocked
    EXPECT_EQ(report.directory, bundle.path());
    for (const auto &[name, value] : environment) {
        EXPECT_EQ(report.environment.at(name), value) << name;
    }
    EXPECT_EQ(report.environment.at("LANG"), "de_DE.UTF-8");
    EXPECT_EQ(report.environment.count("KESTRAV_REEXEC"), 0U);
    EXPECT_EQ(run.wait(), 0) << run.errors();
}

TEST(Process, BundleIsFoundFromTheExecutablesRealPath) {
    const AppBundle bundle;
    const std::string other = bundle.path() + "/Contents/MacOS/Any Name";
    const std::string link = bundle.folder() / "link";
    linkFile(bundle.executable(), other);
    std::filesystem::create_symlink(other, link);
    for (const std::string &program : {other, link}) {
        Launch run(bundle, {.program = program});
        EXPECT_TRUE(run.report().has("-Dksv.ownBundlePath=" + bundle.path())) << program;
    }
}

TEST(Process, AnyBundlePathWorks) {
    for (const char *name : {"with  spaces .app", "it's \"quoted\".app", "a:b.app", "two\nlines.app",
                             "プログラム ä.app", "$HOME ${PATH} %@.app", "no suffix", "bytes \xFF\xFE.app"}) {
        AppBundle bundle(name);
        const std::string &path = bundle.path();
        bundle.javaVM["SearchSequence"] = array({});
        bundle.addRuntime(path + "/Contents/Resources/jre.bundle");
        Launch run(bundle);
        const Report report = run.report();
        EXPECT_EQ(report.directory, path);
        EXPECT_TRUE(report.has("-Dksv.ownBundlePath=" + path)) << path;
        EXPECT_TRUE(report.has("-Dksv.jreBundle=" + path + "/Contents/Resources/jre.bundle")) << path;
    }
}

} // namespace
} // namespace kestrav::tests
