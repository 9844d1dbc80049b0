// Applications that kestrav-bundle has trained, on a real runtime.

#include "Tool.h"

#include <gmock/gmock.h>

namespace kestrav::tests {
namespace {

using testing::HasSubstr;

TEST(Training, WhatWasRecordedIsUsedWhereTheApplicationIsMovedTo) {
    for (const std::string form : {"folder", "archive"}) {
        const TemporaryDirectory folder;
        const std::string words = "--runtime " KESTRAV_SMALL_RUNTIME " --train --runtime-form " + form;
        const auto make = [&](const std::string &argument, const std::string &more = "") {
            return makeTool(folder, {"--jar", KESTRAV_PROGRAM_JAR, "--training-argument", argument}, words + more);
        };
        EXPECT_THAT(make("exit 3").output, HasSubstr("The program failed in training: it ended with status 3"));
        EXPECT_THAT(make("exit 3", " --no-class-archive").output, HasSubstr("; leave out --no-class-archive"));
        EXPECT_EQ(namesIn(folder.path()).size(), 0U);
        fs::copy_file(KESTRAV_PROGRAM_JAR, folder / "pro gram.jar");
        EXPECT_THAT(makeTool(folder, {"--jar", folder / "pro gram.jar"}, words).output,
                    HasSubstr("records no classes from paths with blanks or characters beyond ASCII"));
        const Outcome made = make("in training");
        EXPECT_EQ(made.status, 0) << made.output;
        EXPECT_THAT(made.output, HasSubstr("argument in training\n"));
        folder.makeDirectory("elsewhere");
        fs::rename(folder / "Test.app", folder / "elsewhere/Größer als.app");
        folder.write("elsewhere/Größer als.vmoptions", "-Xlog:class+load");
        const std::string cache = "XDG_CACHE_HOME=" + folder.path() + " ";
        // In an archive upon that of the runtime's own classes, which the runtime did not have.
        const std::string recorded = "org.example.program.Main source: shared objects file (top)";
        const std::string launcher = cache + "'" + folder / "elsewhere/Größer als.app/Contents/MacOS/launcher'";
        EXPECT_THAT(run(launcher, {}).output, HasSubstr(recorded));
        fs::last_write_time(folder / "elsewhere/Größer als.app/Contents/Resources/app/program.jar", {});
        EXPECT_THAT(run(launcher, {}).output, testing::Not(HasSubstr(recorded)));
    }
}

} // namespace
} // namespace kestrav::tests
