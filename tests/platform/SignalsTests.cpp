#include "platform/Signals.h"

#include "platform/FileDescriptor.h"
#include "platform/OperationQueue.h"
#include "platform/Task.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <string>

// Every case changes its process for good, so each runs in a child and tells its result on standard error.

namespace kestrav::platform {
namespace {

/// Collects "NUMBER/FROMTERMINAL " for each signal; `wait` runs the main queue until `count` have come.
class Received {
public:
    Received() {
        Signals::handleTermination([this](TerminationSignal signal) {
            text_ += std::to_string(signal.number) + (signal.fromTerminal ? "/1 " : "/0 ");
            ++count_;
        });
    }
    std::string wait(int count) {
        while (count_ < count) {
            OperationQueue::mainQueue().waitAndRun();
        }
        return text_;
    }

private:
    std::string text_;
    int count_ = 0;
};

[[noreturn]] void tell(const std::string &text) {
    static_cast<void>(writeAll(STDERR_FILENO, text));
    _exit(0);
}

TEST(SignalsTests, EachSignalArrivesInOrder) {
    const auto body = [] {
        sigset_t blocked;
        sigemptyset(&blocked);
        sigaddset(&blocked, SIGTERM);
        sigprocmask(SIG_BLOCK, &blocked, nullptr); // as a careless parent leaves it
        Received received;
        for (const int number : {SIGTERM, SIGINT, SIGHUP, SIGTERM, SIGTERM}) {
            kill(getpid(), number);
        }
        tell(received.wait(5));
    };
    EXPECT_EXIT(body(), ::testing::ExitedWithCode(0), "^15/0 2/0 1/0 15/0 15/0 $");
}

TEST(SignalsTests, TerminalIsToldFromAProcess) {
    const auto body = [] {
        setsid();
        const FileDescriptor terminal(posix_openpt(O_RDWR | O_NOCTTY));
        const char *name = grantpt(terminal.get()) == 0 && unlockpt(terminal.get()) == 0 ? ptsname(terminal.get()) : "";
        const FileDescriptor controlling = FileDescriptor::open(name, O_RDWR); // becomes the session's
        Received received;
        if (!writeAll(terminal.get(), "\x03")) {
            tell("no terminal");
        }
        tell(received.wait(1));
    };
    EXPECT_EXIT(body(), ::testing::ExitedWithCode(0), "^2/1 $");
}

TEST(SignalsTests, FailingWritesAreErrorsOnly) {
    const auto body = [] {
        Signals::ignoreWriteSignals();
        Pipe pipe;
        pipe.readEnd.reset();
        const bool pipeFailed = !writeAll(pipe.writeEnd.get(), "x") && errno == EPIPE;
        std::string name = "/tmp/kestrav-test-XXXXXX";
        const FileDescriptor file(mkstemp(name.data()));
        unlink(name.c_str());
        const rlimit none{0, 0};
        setrlimit(RLIMIT_FSIZE, &none);
        const bool fileFailed = !writeAll(file.get(), "x") && errno == EFBIG;
        _exit(pipeFailed && fileFailed ? 0 : 1);
    };
    EXPECT_EXIT(body(), ::testing::ExitedWithCode(0), "");
}

} // namespace
} // namespace kestrav::platform
