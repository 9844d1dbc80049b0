// What the child is given and what becomes of its end.

#include "Launch.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <cstring>
#include <filesystem>

namespace kestrav::tests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(Process, ExitStatusIsTheChilds) {
    const AppBundle bundle;
    const std::vector<int> statuses{0, 1, 2, 3, 42, 127, 128, 137, 200, 254, 255};
    const std::vector<int> signals{SIGHUP, SIGINT, SIGABRT, SIGKILL, SIGSEGV, SIGPIPE, SIGTERM, SIGXFSZ};
    Launches runs;
    std::vector<int> expected;
    for (const int status : statuses) {
        runs.push_back(std::make_unique<Launch>(bundle, Start{.environment = {{"FAKE_EXIT", std::to_string(status)}}}));
        expected.push_back(status);
    }
    for (const int number : signals) {
        runs.push_back(std::make_unique<Launch>(bundle, Start{.environment = {{"FAKE_DIE", std::to_string(number)}}}));
        expected.push_back(128 + number);
    }
    for (std::size_t i = 0; i < runs.size(); ++i) {
        EXPECT_EQ(runs[i]->wait(), expected[i]);
        EXPECT_EQ(runs[i]->errors(), "");
    }
}

TEST(Process, CommandLineIsConfigurationThenArguments) {
    AppBundle bundle;
    bundle.folder().write("options/extra", "-Dfrom=OptionsFile\n-classpath/a two.jar");
    bundle.folder().write("Test.vmoptions", "-Dfrom=sibling\n");
    bundle.folder().write("archives/one.jar", "");
    bundle.javaVM["WorkingDirectory"] = text("$APP_PACKAGE/Contents");
    bundle.javaVM["ClassPath"] = text(bundle.folder() / "archives/*");
    bundle.javaVM["ModulePath"] = text("$APP_PACKAGE/modules");
    bundle.javaVM["VMOptionArray"] = array({text("-Dfrom=array"), text("-XstartOnFirstThread")});
    bundle.javaVM["VersionSpecificVMOptions"] =
        array({text("9-16"), array({text("-Dfrom=older")}), text("17-17"), array({text("-Dfrom=17")})});
    bundle.javaVM["OptionsFile"] = text(bundle.folder() / "options/extra");
    bundle.javaVM["SplashFile"] = text("$APP_PACKAGE/splash.png");
    bundle.javaVM["ArgumentArray"] = array({text("${launcher:sys.jvmHome}"), text("")});
    bundle.info["ksv.allowPassthrough"] = "<true/>";
    bundle.info["CFBundleIconFile"] = text("app.icns");

    const std::string strange = "\xFF \xC3( 'quoted' \"${HOME}\" $APP_PACKAGE\n%@ %n\\";
    Launch run(bundle, {.arguments = {"-psn_0_1", "-J-Xmx2g", "-psn_0_2", "-J", "", "-q", strange}});
    const Report report = run.report();
    EXPECT_EQ(run.wait(), 0) << run.errors();
    EXPECT_THAT(report.arguments,
                ElementsAre(bundle.runtime() + "/Contents/Home/bin/java", "-Dfrom=array", "-Dfrom=17", "-Dfrom=sibling",
                            "-Dfrom=OptionsFile", "-splash:" + bundle.path() + "/splash.png",
                            "-Djava.class.path=" + (bundle.folder() / "archives/one.jar") + ":two.jar", "-p",
                            bundle.path() + "/modules", "-Dksv.ownBundlePath=" + bundle.path(), "-Xmx2g", "",
                            "-Dksv.jreBundle=" + bundle.runtime(), "org.example.Main",
                            bundle.runtime() + "/Contents/Home", "", "-psn_0_2", "", "-q", strange));
    EXPECT_EQ(report.directory, bundle.path() + "/Contents");
}

TEST(Process, ChildStartsClean) {
    const AppBundle bundle;
    const std::string defaults = propertyList(dictionary({{"AppleLocale", text("de_DE")}}));
    Launches runs;
    for (const char *language : {"", "fr_FR"}) {
        Start start{.signalsIgnored = true};
        const TemporaryDirectory configuration;
        configuration.write("kestrav/.GlobalPreferences.plist", defaults);
        start.environment = {
            {"XDG_CONFIG_HOME", configuration.path()}, {"EMPTY", ""}, {"STRANGE", "a=b\n${EMPTY}\xFF"}};
        if (*language != '\0') {
            start.environment["LANG"] = language;
        }
        runs.push_back(std::make_unique<Launch>(bundle, start));
        const Report report = runs.back()->report();
        EXPECT_THAT(report.descriptors, ElementsAre("0", "1", "2"));
        EXPECT_THAT(report.ignoredSignals, IsEmpty());
        EXPECT_THAT(report.blockedSignals, IsEmpty());
        EXPECT_EQ(report.directory, bundle.path());

        auto expected = start.environment;
        expected["LANG"] = *language == '\0' ? "de_DE.UTF-8" : language;
        for (const auto &[name, value] : expected) {
            EXPECT_EQ(report.environment.at(name), value) << name;
        }
        EXPECT_EQ(report.environment.count("KESTRAV_REEXEC"), 0U);
    }
    for (const auto &run : runs) {
        EXPECT_EQ(run->wait(), 0) << run->errors();
    }
}

TEST(Process, AnyBundlePathWorks) {
    Launches runs;
    std::vector<std::unique_ptr<AppBundle>> bundles;
    for (const char *name : {"with  spaces .app", "it's \"quoted\".app", "a:b.app", "two\nlines.app",
                             "プログラム ä.app", "$HOME ${PATH} %@.app", "no suffix", "bytes \xFF\xFE.app"}) {
        bundles.push_back(std::make_unique<AppBundle>(name));
        AppBundle &bundle = *bundles.back();
        bundle.javaVM["SearchSequence"] = array({});
        bundle.addRuntime(bundle.path() + "/Contents/Resources/jre.bundle");
        // Whatever the last three characters are, they go.
        bundle.folder().write(std::string(name, std::strlen(name) - 3) + "vmoptions", "-Dfrom=sibling\n");
        runs.push_back(std::make_unique<Launch>(bundle));
    }
    for (std::size_t i = 0; i < runs.size(); ++i) {
        const std::string &path = bundles[i]->path();
        const Report report = runs[i]->report();
        EXPECT_EQ(runs[i]->wait(), 0) << path << runs[i]->errors();
        EXPECT_EQ(report.directory, path);
        EXPECT_TRUE(report.has("-Dksv.ownBundlePath=" + path)) << path;
        EXPECT_TRUE(report.has("-Dksv.jreBundle=" + path + "/Contents/Resources/jre.bundle")) << path;
        EXPECT_TRUE(report.has("-Dfrom=sibling")) << path;
    }
}

TEST(Process, ExecutableMayBeALinkOrHaveAnyName) {
    const AppBundle bundle;
    const std::string renamed = bundle.path() + "/Contents/MacOS/Any Name";
    std::filesystem::rename(bundle.executable(), renamed);
    std::filesystem::create_symlink(renamed, bundle.executable());
    Launch run(bundle);
    EXPECT_TRUE(run.report().has("-Dksv.ownBundlePath=" + bundle.path()));
    EXPECT_EQ(run.wait(), 0);
}

TEST(Process, ArgumentFileNamesNoRuntimeYet) {
    AppBundle bundle;
    bundle.info["ksv.minVersion"] = text("17");
    const std::string file = bundle.folder().write("arguments", "");
    Launch inProcess(bundle, {.arguments = {"__ksv_invoke_other", file}});
    expectRefusal(inProcess, "no runtime: 17, Test");
    // Without a file the marker is an ordinary argument.
    Launch ordinary(bundle, {.arguments = {"__ksv_invoke_other"}});
    EXPECT_TRUE(ordinary.report().has("__ksv_invoke_other"));
    EXPECT_EQ(ordinary.wait(), 0);
}

} // namespace
} // namespace kestrav::tests
