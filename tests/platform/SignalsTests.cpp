#include "platform/Signals.h"

#include "platform/FileDescriptor.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <csignal>

// Every case changes its process for good, so each runs in a child and tells its result on standard error.

namespace kestrav::platform {
namespace {

/// Tells "NUMBER/FROMTERMINAL " for each signal until `count` have come.
[[noreturn]] void tellSignals(int count, const std::function<void()> &cause) {
    Signals::handleTermination([count](TerminationSignal signal) mutable {
        static_cast<void>(
            writeAll(STDERR_FILENO, std::to_string(signal.number) + (signal.fromTerminal ? "/1 " : "/0 ")));
        if (--count == 0) {
            _exit(0);
        }
    });
    cause();
    for (;;) {
        pause(); // a main thread that is held up
    }
}

TEST(SignalsTests, EachSignalArrivesInOrder) {
    sigset_t blocked;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGTERM);
    sigprocmask(SIG_BLOCK, &blocked, nullptr); // as a careless parent leaves it
    const auto kills = [] {
        for (const int number : {SIGTERM, SIGINT, SIGHUP, SIGQUIT, SIGTERM, SIGTERM}) {
            kill(getpid(), number);
        }
        raise(SIGINT); // which the system marks differently
    };
    EXPECT_EXIT(tellSignals(7, kills), ::testing::ExitedWithCode(0), "^15/0 2/0 1/0 3/0 15/0 15/0 2/0 $");
}

} // namespace
} // namespace kestrav::platform
