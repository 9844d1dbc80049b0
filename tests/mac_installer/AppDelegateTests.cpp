#include "mac_installer/bootstrap/AppDelegate.h"
#include "mac_installer/bootstrap/JavaProcess.h"
#include "platform/Clock.h"
#include "platform/OperationQueue.h"
#include "support/LauncherFixture.h"

#include <unistd.h>

#include <csignal>

namespace kestrav::tests {
namespace {

class DownloadProgress : public LauncherFixture {
protected:
    DownloadProgress() {
        directory.write("Tool.app/Contents/Resources/en.lproj/Localizable.strings",
                        R"("DownloadProgress" = "%@ of %@ MB, %d %%, %d KB/s"; "DownloadRetry" = "Again";)");
        platform::testing::replacements().clock = [this] { return now; };
        delegate.setControls(controls);
    }

    std::int64_t now = 1'700'000'000'000'000;
    AppDelegate delegate;
    platform::WindowControls controls;
    platform::ProgressIndicator &bar = controls.progressBar;
    platform::TextField &line = controls.progressLabel;
};

TEST_F(DownloadProgress, OfAKnownLength) {
    constexpr std::int64_t mebibyte = 1 << 20;
    struct Piece {
        std::int64_t microseconds; // since the previous one
        std::int64_t bytes;
        double bar;
        std::string line;
    };
    const struct {
        std::int64_t length;
        std::vector<Piece> pieces;
    } cases[] = {
        {5 * mebibyte, {{1'500'000, 5 * mebibyte / 2, 50, "2.5 of 5.0 MB, 50 %, 1706 KB/s"}}},
        {2048,
         {{0, 256, 12.5, ""},
          {500'000, 256, 25, ""},
          {1, 512, 50, "0.0 of 0.0 MB, 50 %, 1 KB/s"}, // 1.999996 truncated
          {500'000, 512, 75, "0.0 of 0.0 MB, 50 %, 1 KB/s"},
          {-900'000, 256, 87.5, "0.0 of 0.0 MB, 50 %, 1 KB/s"}, // the clock was set
          {900'001, 256, 100, "0.0 of 0.0 MB, 100 %, 1 KB/s"}}},
        {1,
         {{1'000'000, INT64_C(1) << 50, 112'589'990'684'262'400.0,
           "1073741824.0 of 0.0 MB, 2147483647 %, 2147483647 KB/s"}}},
    };
    for (const auto &test : cases) {
        line.setStringValue("");
        delegate.didReceiveResponse(test.length); // starts over each time
        for (const Piece &piece : test.pieces) {
            now += piece.microseconds;
            delegate.didReceiveDataOfLength(piece.bytes);
            EXPECT_DOUBLE_EQ(bar.doubleValue(), piece.bar);
            EXPECT_EQ(line.stringValue(), piece.line);
        }
    }
    EXPECT_FALSE(bar.isIndeterminate());
}

TEST_F(DownloadProgress, OfAnUnknownLength) {
    for (const std::int64_t length : {-1, 0}) {
        bar = {};
        delegate.didReceiveResponse(length);
        EXPECT_FALSE(bar.isIndeterminate());
        now += 10'000'000;
        delegate.didReceiveDataOfLength(1000);
        EXPECT_TRUE(bar.isIndeterminate() && bar.isAnimating());
        EXPECT_EQ(line.stringValue(), "");
    }
    EXPECT_FALSE(delegate.shouldDecodeSourceDataOfMIMEType("application/gzip"));
}

TEST_F(DownloadProgress, GoesOnWhereABrokenDownloadStopped) {
    delegate.didReceiveResponse(-1);
    delegate.didReceiveDataOfLength(512);
    delegate.willTryAgain({"broken", {}}, 0.5);
    EXPECT_EQ(controls.label.stringValue(), "Again");
    now += 10'000'000;
    delegate.willResumeFromByte(512, 2048);
    now += 1'000'000;
    delegate.didReceiveDataOfLength(1024);
    EXPECT_EQ(controls.label.stringValue(), "DownloadingJre");
    EXPECT_FALSE(bar.isIndeterminate());
    EXPECT_DOUBLE_EQ(bar.doubleValue(), 75);
    EXPECT_EQ(line.stringValue(), "0.0 of 0.0 MB, 75 %, 1 KB/s");
}

TEST(AppDelegateDocuments, AreArgumentsUntilTheProgramIsStarted) {
    std::string logged;
    platform::testing::replacements().logSink = [&](std::string_view line) { logged = line; };
    AppDelegate delegate;
    EXPECT_TRUE(delegate.open("/a b") && delegate.open("tool:x"));
    EXPECT_EQ(delegate.takeDocuments(), (std::vector<std::string>{"/a b", "tool:x"}));
    EXPECT_FALSE(delegate.open("tool:secret"));
    EXPECT_NE(logged.find("a document was not opened"), std::string::npos);
    EXPECT_EQ(logged.find("secret"), std::string::npos);
    EXPECT_TRUE(delegate.takeDocuments().empty());
    platform::testing::replacements().logSink = nullptr;
}

TEST(AppDelegateQuit, CancelsBeforeTheProgramIsThere) {
    const auto quit = [](bool systemAsksProgram) {
        AppDelegate delegate;
        platform::WindowControls controls;
        delegate.setControls(controls);
        delegate.quit(systemAsksProgram);
        platform::OperationQueue::mainQueue().runPending();
        _exit(controls.cancelButton.isEnabled() ? 1 : 0);
    };
    // In processes of their own, because a process that has been cancelled stays so.
    EXPECT_EXIT(quit(false), testing::ExitedWithCode(0), "");
    EXPECT_EXIT(quit(true), testing::ExitedWithCode(0), "");
}

TEST(JavaProcess, GetsWhatTheTerminalSentBeforeItWasThere) {
    JavaProcess process("/bin/sleep", {"60"});
    const auto before = platform::monotonicNanoseconds();
    process.start();
    process.passOn({SIGINT, true, platform::monotonicNanoseconds()}); // the child has it from the terminal already
    process.passOn({SIGTERM, true, before});
    EXPECT_EQ(process.waitForExit(), 128 + SIGTERM);
}

} // namespace
} // namespace kestrav::tests
