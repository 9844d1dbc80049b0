#include "platform/Signals.h"

#include "platform/Clock.h"
#include "platform/Exception.h"
#include "platform/OperationQueue.h"
#include "platform/Task.h"
#include "platform/Thread.h"
#include "platform/posix/NeverDestroyed.h"
#include "platform/posix/system.h"
#include "platform/uninterrupted.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>

namespace kestrav::platform {

namespace {

constexpr std::array TerminationSignals = {SIGINT, SIGQUIT, SIGTERM, SIGHUP, SIGUSR1, SIGUSR2};

std::atomic<int> handlerDescriptor{-1}; // where the handler writes
static_assert(std::atomic<int>::is_always_lock_free, "used in a signal handler");

/// Runs between any two instructions of the program, so it only passes the signal on. A record is far smaller than what
/// a pipe accepts in one piece.
void handleSignal(int number, siginfo_t *info, void * /*context*/) {
    constexpr int attempts = 1000;
    const int savedErrno = errno;
    const TerminationSignal record{number, sentByTerminal(number, info), monotonicNanoseconds()};
    for (int attempt = 0; attempt < attempts && write(handlerDescriptor.load(), &record, sizeof record) < 0;
         ++attempt) {
    }
    errno = savedErrno;
}

[[noreturn]] void forwardSignals(const FileDescriptor &readEnd,
                                 const std::function<void(TerminationSignal)> &receiver) {
    constexpr std::int64_t pauseAfterFailure = 10'000; // microseconds
    for (;;) {
        TerminationSignal record;
        if (read(readEnd.get(), &record, sizeof record) != static_cast<ssize_t>(sizeof record)) {
            sleepMicroseconds(pauseAfterFailure);
            continue;
        }
        try {
            receiver(record);
        } catch (const std::exception &) {
            // Out of memory. The receiver does what matters most first, and the next signal may succeed.
        }
    }
}

sigset_t ignoredSignals() {
    sigset_t ignored;
    sigemptyset(&ignored);
    for (int number = 1; number < NSIG; ++number) {
        struct sigaction current {};
        if (sigaction(number, nullptr, &current) == 0 && current.sa_handler == SIG_IGN) {
            sigaddset(&ignored, number);
        }
    }
    return ignored;
}

} // namespace

SignalsBlocked::SignalsBlocked() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &saved_);
}

SignalsBlocked::~SignalsBlocked() {
    pthread_sigmask(SIG_SETMASK, &saved_, nullptr);
}

SignalsHeld::SignalsHeld() {
    sigemptyset(&held_);
    for (const int number : TerminationSignals) {
        if (!Signals::wasIgnoredAtStart(number)) {
            sigaddset(&held_, number);
        }
    }
    pthread_sigmask(SIG_BLOCK, &held_, &saved_);
}

SignalsHeld::~SignalsHeld() {
    pthread_sigmask(SIG_SETMASK, &saved_, nullptr);
}

std::optional<int> SignalsHeld::take() const {
    sigset_t pending;
    if (sigpending(&pending) != 0) {
        return std::nullopt;
    }
    for (const int number : TerminationSignals) {
        if (sigismember(&held_, number) == 1 && sigismember(&pending, number) == 1) {
            sigset_t one;
            sigemptyset(&one);
            sigaddset(&one, number);
            int taken = 0;
            return sigwait(&one, &taken) == 0 ? std::optional(taken) : std::nullopt;
        }
    }
    return std::nullopt;
}

bool Signals::wasIgnoredAtStart(int number) {
    static const sigset_t ignored = ignoredSignals();
    return sigismember(&ignored, number) == 1;
}

void Signals::ignoreWriteSignals() {
    static_cast<void>(wasIgnoredAtStart(SIGPIPE)); // looks at all signals before they change
    struct sigaction action {};
    action.sa_handler = SIG_IGN;
    sigemptyset(&action.sa_mask);
    sigaction(SIGPIPE, &action, nullptr);
    sigaction(SIGXFSZ, &action, nullptr);
}

void Signals::handleTermination(std::function<void(TerminationSignal)> receiver) {
    static_cast<void>(OperationQueue::mainQueue()); // created here, where a failure can be reported
    static NeverDestroyed<Pipe> kept;
    const Pipe &pipe = kept.get();
    if (fcntl(pipe.writeEnd.get(), F_SETFL, O_NONBLOCK) != 0) {
        throw Exception("SignalsException", lastError().message());
    }
    {
        const SignalsBlocked blocked;
        Thread([&pipe, receiver = std::move(receiver)] { forwardSignals(pipe.readEnd, receiver); }).detach();
    }
    handlerDescriptor = pipe.writeEnd.get();

    struct sigaction action {};
    action.sa_sigaction = handleSignal;
    action.sa_flags = SA_SIGINFO | SA_RESTART;
    sigemptyset(&action.sa_mask);
    sigset_t handled;
    sigemptyset(&handled);
    for (const int number : TerminationSignals) {
        sigaddset(&action.sa_mask, number);
        sigaddset(&handled, number);
    }
    for (const int number : TerminationSignals) {
        if (!wasIgnoredAtStart(number)) {
            sigaction(number, &action, nullptr);
        }
    }
    // The parent process may have left them blocked.
    pthread_sigmask(SIG_UNBLOCK, &handled, nullptr);
}

} // namespace kestrav::platform
