#include "platform/SystemLog.h"

#include "platform/FileDescriptor.h"
#include "platform/Signals.h"
#include "platform/Task.h"
#include "platform/linux/StandardError.h"
#include "platform/testing.h"
#include "support/TemporaryDirectory.h"

#include <gmock/gmock.h>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdio>
#include <utility>

namespace kestrav::platform {
namespace {

TEST(SystemLogTests, ShapeOfALine) {
    const auto body = [] {
        setenv("TZ", "XST-02:30", 1);
        testing::setArguments({"/x/Demo"});
        testing::replacements().clock = [time = std::int64_t{1'795'244'497'007'999}]() mutable {
            return std::exchange(time, time + 100'000);
        };
        writeSystemLog("100%s\n of it"); // not a format, and the line break is kept
        Log("%@-%d", "text", 7);
        writeSystemLogOnly("not here");
        _exit(0);
    };
    EXPECT_EXIT(body(), ::testing::ExitedWithCode(0),
                ::testing::MatchesRegex("2026-11-21 09:31:37\\.007 Demo\\[[0-9]+:[0-9]+\\] 100%s\n of it\n"
                                        "2026-11-21 09:31:37\\.107 Demo\\[[0-9]+:[0-9]+\\] text-7\n"));
}

TEST(SystemLogTests, DaemonIsToldAndNotWaitedFor) {
    const tests::TemporaryDirectory directory;
    const auto body = [&](bool reads) {
        alarm(60); // ends the test if it hangs
        const FileDescriptor daemon(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
        sockaddr_un name{};
        name.sun_family = AF_UNIX;
        (directory / (reads ? "log" : "stuck")).copy(name.sun_path, sizeof name.sun_path - 1);
        if (bind(daemon.get(), reinterpret_cast<const sockaddr *>(&name), sizeof name) != 0) {
            _exit(1);
        }
        testing::replacements().logDaemon = name.sun_path;
        testing::setArguments({"/x/Demo"});
        for (int count = 0; count < (reads ? 1 : 2000); ++count) {
            writeSystemLogOnly("a line");
        }
        writeSystemLog("whole", "short");
        char line[200] = "";
        for (int count = 0; reads && count < 2; ++count) {
            const ssize_t size = recv(daemon.get(), line, sizeof line, 0);
            std::fprintf(stderr, "%.*s\n", static_cast<int>(size), line);
        }
        _exit(0);
    };
    const std::string begin = "<13>[A-Z][a-z][a-z] [ 0-9:]+ Demo\\[[0-9]+\\]: ";
    EXPECT_EXIT(body(true), ::testing::ExitedWithCode(0),
                ::testing::ContainsRegex(" short\n" + begin + "a line\n" + begin + "whole\n$"));
    EXPECT_EXIT(body(false), ::testing::ExitedWithCode(0), " short\n$");
}

TEST(SystemLogTests, NamesCommandNoTerminal) {
    EXPECT_EQ(logText("%@\n%s %@ %d", std::string("a\n\x1B[31m\x7F\xC2\x9B\xC2\xA0\xC3\xA4"), "\t", std::nullopt, 7),
              "a\\n\\u001B[31m\\u007F\\u009B\xC2\xA0\xC3\xA4\n\\t (null) 7");
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
