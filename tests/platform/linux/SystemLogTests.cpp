#include "platform/SystemLog.h"

#include "platform/FileDescriptor.h"
#include "platform/Signals.h"
#include "platform/Task.h"
#include "platform/testing.h"
#include "support/TemporaryDirectory.h"

#include <gmock/gmock.h>

#include <fcntl.h>
#include <unistd.h>

#include <regex>
#include <thread>

namespace kestrav::platform {
namespace {

TEST(SystemLogTests, ShapeOfALine) {
    const auto body = [] {
        setenv("TZ", "XST-02:30", 1);
        testing::setArguments({"/x/Demo"});
        testing::setClock([] { return std::int64_t{1'795'244'497'007'999}; });
        writeSystemLog("100%s\n of it"); // no format, and its line break stays
        Log("%@-%d", "text", 7);
        writeSystemLogOnly("not here");
        _exit(0);
    };
    EXPECT_EXIT(body(), ::testing::ExitedWithCode(0),
                ::testing::MatchesRegex("2026-11-21 09:31:37\\.007 Demo\\[[0-9]+:[0-9]+\\] 100%s\n of it\n"
                                        "2026-11-21 09:31:37\\.007 Demo\\[[0-9]+:[0-9]+\\] text-7\n"));
}

TEST(SystemLogTests, LinesOfThreadsDoNotMix) {
    const tests::TemporaryDirectory directory;
    const std::string path = directory / "log";
    const auto body = [&] {
        testing::setArguments({"Demo"});
        const FileDescriptor file = FileDescriptor::open(path.c_str(), O_CREAT | O_WRONLY, 0600);
        dup2(file.get(), STDERR_FILENO);
        std::vector<std::thread> threads;
        for (const char letter : {'a', 'b', 'c', 'd'}) {
            threads.emplace_back([letter] {
                for (int count = 0; count < 100; ++count) {
                    writeSystemLog(std::string(1000, letter));
                }
            });
        }
        for (std::thread &thread : threads) {
            thread.join();
        }
        _exit(0);
    };
    EXPECT_EXIT(body(), ::testing::ExitedWithCode(0), "");
    std::ifstream lines(path);
    int count = 0;
    for (std::string line; std::getline(lines, line); ++count) {
        const std::string message = line.substr(std::min(line.find("] "), line.size() - 2) + 2);
        EXPECT_EQ(message, std::string(1000, message.front()));
    }
    EXPECT_EQ(count, 400);
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
