#include "platform/SystemLog.h"

#include "platform/Signals.h"
#include "platform/Task.h"
#include "platform/linux/writeSystemLogOnly.h"
#include "platform/testing.h"

#include <gmock/gmock.h>

#include <unistd.h>

#include <thread>
#include <utility>

namespace kestrav::platform {
namespace {

TEST(SystemLogTests, ShapeOfALine) {
    const auto body = [] {
        setenv("TZ", "XST-02:30", 1);
        testing::setArguments({"/x/Demo"});
        testing::setClock(
            [time = std::int64_t{1'795'244'497'007'999}]() mutable { return std::exchange(time, time + 100'000); });
        writeSystemLog("100%s\n of it"); // no format, and its line break stays
        Log("%@-%d", "text", 7);
        writeSystemLogOnly("not here");
        _exit(0);
    };
    EXPECT_EXIT(body(), ::testing::ExitedWithCode(0),
                ::testing::MatchesRegex("2026-11-21 09:31:37\\.007 Demo\\[[0-9]+:[0-9]+\\] 100%s\n of it\n"
                                        "2026-11-21 09:31:37\\.107 Demo\\[[0-9]+:[0-9]+\\] text-7\n"));
}

TEST(SystemLogTests, LinesOfThreadsDoNotMix) {
    const auto body = [] {
        testing::setArguments({"Demo"});
        const auto write = [](char letter) {
            for (int count = 0; count < 100; ++count) {
                writeSystemLog(std::string(200, letter));
            }
        };
        std::thread other(write, 'a');
        write('b');
        other.join();
        _exit(0);
    };
    EXPECT_EXIT(body(), ::testing::ExitedWithCode(0),
                ::testing::MatchesRegex("([-0-9:. ]+Demo\\[[0-9:]+\\] (a+|b+)\n)+"));
}

TEST(SystemLogTests, FailingStandardErrorIsNoMatter) {
    const auto body = [](bool closed) {
        Signals::ignoreWriteSignals();
        Pipe pipe;
        pipe.readEnd.reset();
        closed ? close(STDERR_FILENO) : dup2(pipe.writeEnd.get(), STDERR_FILENO);
        writeSystemLog("nobody reads this");
        _exit(0);
    };
    EXPECT_EXIT(body(true), ::testing::ExitedWithCode(0), "^$");
    EXPECT_EXIT(body(false), ::testing::ExitedWithCode(0), "^$");
}

} // namespace
} // namespace kestrav::platform
