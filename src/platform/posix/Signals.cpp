#include "platform/Signals.h"

#include "platform/Clock.h"
#include "platform/Exception.h"
#include "platform/OperationQueue.h"
#include "platform/SignalsBlocked.h"
#include "platform/Task.h"
#include "platform/posix/NeverDestroyed.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <system_error>
#include <thread>

namespace kestrav::platform {

namespace {

constexpr std::array TerminationSignals = {SIGINT, SIGQUIT, SIGTERM, SIGHUP};

std::atomic<int> handlerDescriptor{-1}; // where the handler writes
static_assert(std::atomic<int>::is_always_lock_free, "used in a signal handler");

/// Runs between any two instructions of the program: it may only pass the signal on. A record is far smaller than
/// what a pipe takes in one piece.
void handleSignal(int number, siginfo_t *info, void * /*context*/) {
    const int savedErrno = errno;
    const bool typed = number == SIGINT || number == SIGQUIT;
    const bool fromTerminal = typed && info != nullptr && info->si_pid == 0 && info->si_code != SI_USER;
    const TerminationSignal record{number, fromTerminal, monotonicNanoseconds()};
    static_cast<void>(write(handlerDescriptor.load(), &record, sizeof record));
    errno = savedErrno;
}

void forwardSignals(const FileDescriptor &readEnd, const std::function<void(TerminationSignal)> &receiver) {
    for (;;) {
        TerminationSignal record;
        const ssize_t count = read(readEnd.get(), &record, sizeof record);
        if (count == static_cast<ssize_t>(sizeof record)) {
            receiver(record);
        } else if (count >= 0 || errno != EINTR) {
            return;
        }
    }
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

void Signals::ignoreWriteSignals() {
    struct sigaction action {};
    action.sa_handler = SIG_IGN;
    sigemptyset(&action.sa_mask);
    sigaction(SIGPIPE, &action, nullptr);
    sigaction(SIGXFSZ, &action, nullptr);
}

void Signals::handleTermination(std::function<void(TerminationSignal)> receiver) {
    static_cast<void>(OperationQueue::mainQueue()); // made here, where a failure has a caller
    Pipe pipe;
    if (fcntl(pipe.writeEnd.get(), F_SETFL, O_NONBLOCK) != 0) {
        throw Exception("SignalsException", std::generic_category().message(errno));
    }
    {
        const SignalsBlocked blocked;
        std::thread([readEnd = std::move(pipe.readEnd), receiver = std::move(receiver)] {
            forwardSignals(readEnd, receiver);
        }).detach();
    }
    static NeverDestroyed<FileDescriptor> writeEnd([&pipe] { return std::move(pipe.writeEnd); });
    handlerDescriptor = writeEnd.get().get();

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
        sigaction(number, &action, nullptr);
    }
    // Whoever started the process may have left them blocked.
    pthread_sigmask(SIG_UNBLOCK, &handled, nullptr);
}

} // namespace kestrav::platform
