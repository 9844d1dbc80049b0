// A real runtime runs a real Java program.

#include "Launch.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <fstream>

namespace kestrav::tests {
namespace {

/// The bundle's runtime is the installed JDK; its class path holds the Java program.
void useJava(AppBundle &bundle) {
    linkFile(KESTRAV_PROBE_JAR, bundle.path() + "/Contents/Resources/app/probe.jar");
    bundle.javaVM["MainClass"] = text("Probe");
    bundle.javaVM["ClassPath"] = text("$APP_PACKAGE/Contents/Resources/app/*");
    bundle.javaVM["VMOptionArray"] = array({text("-Dprobe.array=an \"array\"")});
    bundle.javaVM["ArgumentArray"] = array({text("configured in ${launcher:sys.jvmHome}")});
}

TEST(Java, ProgramRunsOnEitherRuntimeAndItsStatusComesBack) {
    // An installed runtime, a plain directory; its version has to be within the bounds.
    AppBundle installed("Ein \"schönes\" Programm's.app");
    useJava(installed);
    installed.javaVM["SearchSequence"] = array({text("ENO_SUCH_VARIABLE"), text("R" KESTRAV_JDK)});
    installed.info["ksv.minVersion"] = text("17");
    installed.info["ksv.maxVersion"] = text("17");
    installed.folder().write("Ein \"schönes\" Programm's.vmoptions", "# a comment\n-Dprobe.file=${PROBE_TEXT}\n");
    // The application's own, a runtime bundle; bounds are for others.
    AppBundle own;
    useJava(own);
    const std::string ownRuntime = own.path() + "/Contents/Resources/jre.bundle";
    own.folder().write("Test.app/Contents/Resources/jre.bundle/Contents/Info.plist",
                       propertyList(dictionary({{"JavaVM", dictionary({{"JVMVersion", text("17.0.1")}})}})));
    std::filesystem::create_directory_symlink(KESTRAV_JDK, ownRuntime + "/Contents/Home");
    own.info["ksv.minVersion"] = text("99");

    const std::array<std::pair<AppBundle *, std::string>, 2> cases{{{&installed, KESTRAV_JDK}, {&own, ownRuntime}}};
    Launches runs;
    std::array<int, 2> input{};
    for (const auto &[bundle, runtime] : cases) {
        ASSERT_EQ(pipe(input.data()), 0);
        const std::string typed = "typed täxt\nsecond line\n";
        ASSERT_EQ(write(input[1], typed.data(), typed.size()), static_cast<ssize_t>(typed.size()));
        close(input[1]);
        runs.push_back(
            std::make_unique<Launch>(*bundle, Start{.arguments = {"-psn_0_12345", "two words", "", "77"},
                                                    .environment = {{"LC_ALL", "C.UTF-8"}, {"PROBE_TEXT", "a täxt"}},
                                                    .standardInput = input[0]}));
        close(input[0]);
    }
    for (std::size_t i = 0; i < cases.size(); ++i) {
        const auto &[bundle, runtime] = cases[i];
        const std::string home = i == 0 ? runtime : runtime + "/Contents/Home";
        EXPECT_EQ(runs[i]->wait(), 77) << runs[i]->errors();
        EXPECT_EQ(runs[i]->output(), "argument configured in " + home + "\n" +
                                         "argument two words\nargument \nargument 77\n"
                                         "probe.array an \"array\"\n"
                                         "probe.file " +
                                         (i == 0 ? "a täxt" : "null") + "\nksv.jreBundle " + runtime +
                                         "\nksv.ownBundlePath " + bundle->path() + "\nuser.dir " + bundle->path() +
                                         "\ninput typed täxt\nsecond line\n\n");
        EXPECT_EQ(runs[i]->errors(), "");
    }
}

TEST(Java, StandardLocationsOfTheSystemHoldIt) {
    AppBundle bundle;
    useJava(bundle);
    bundle.javaVM["SearchSequence"] = array({text("Y")});
    bundle.info["ksv.minVersion"] = text("17");
    bundle.info["ksv.maxVersion"] = text("17");
    Launch run(bundle, {.arguments = {"3"}});
    EXPECT_EQ(run.wait(), 3);
    EXPECT_NE(run.output().find("ksv.jreBundle /usr/lib/jvm/"), std::string::npos) << run.output();
}

} // namespace
} // namespace kestrav::tests
