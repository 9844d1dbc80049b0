// A real runtime runs a real Java program.

#include "Launch.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>

namespace kestrav::tests {
namespace {

/// Starts the bundle with the Java program on its class path, and something to copy on its standard input.
void expectProgramRuns(AppBundle &bundle, const std::string &home, const std::string &property) {
    linkFile(KESTRAV_PROGRAM_JAR, bundle.path() + "/Contents/Resources/app/program.jar");
    bundle.javaVM["MainClass"] = text("org.example.program.Main");
    bundle.javaVM["ClassPath"] = text("$APP_PACKAGE/Contents/Resources/app/*");
    bundle.javaVM["VMOptionArray"] = array({text("-Dprogram.property=an \"array\"")});
    bundle.javaVM["ArgumentArray"] = array({text("configured in ${launcher:sys.jvmHome}")});
    const std::string typed = "typed täxt\nsecond line\n";
    const int input = open(bundle.folder().write("typed", typed).c_str(), O_RDONLY | O_CLOEXEC);
    Launch run(bundle, {.arguments = {"-psn_0_12345", "two words", "", "copy"},
                        .environment = {{"LC_ALL", "C.UTF-8"}, {"PROBE_TEXT", "a täxt"}},
                        .standardInput = input});
    close(input);
    EXPECT_EQ(run.wait(), 77);
    EXPECT_EQ(run.output(), "argument configured in " + home +
                                "\nargument two words\nargument \nargument copy\nproperty " + property +
                                "\nmodule null\nlibrary path null\n" + typed);
    EXPECT_EQ(run.errors(), "");
}

TEST(Java, ProgramRunsOnAnInstalledRuntimeWithinTheBounds) {
    AppBundle bundle("Ein \"schönes\" Programm's.app");
    bundle.javaVM["SearchSequence"] = array({text("ENO_SUCH_VARIABLE"), text("R" KESTRAV_JDK)});
    bundle.info["ksv.minVersion"] = text("17");
    bundle.info["ksv.maxVersion"] = text("17");
    bundle.folder().write("Ein \"schönes\" Programm's.vmoptions", "# a comment\n-Dprogram.property=${PROBE_TEXT}\n");
    expectProgramRuns(bundle, KESTRAV_JDK, "a täxt");
}

TEST(Java, ProgramRunsOnTheApplicationsOwnRuntimeWhateverTheBounds) {
    AppBundle bundle;
    const std::string runtime = "Test.app/Contents/Resources/jre.bundle/Contents/";
    bundle.folder().write(runtime + "Info.plist", runtimeInfo("17.0.1"));
    std::filesystem::create_directory_symlink(KESTRAV_JDK, bundle.folder() / (runtime + "Home"));
    bundle.info["ksv.minVersion"] = text("99");
    expectProgramRuns(bundle, bundle.folder() / (runtime + "Home"), "an \"array\"");
}

} // namespace
} // namespace kestrav::tests
