#include "Interruption.h"

#include "platform/Signals.h"

#include <atomic>
#include <csignal>

namespace kestrav::tools {

namespace {

std::atomic<int> received{0};
static_assert(std::atomic<int>::is_always_lock_free, "used in a signal handler");

void setHandler(int number, void (*handler)(int)) {
    struct sigaction action {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    sigaction(number, &action, nullptr);
}

} // namespace

void catchSignals() {
    platform::Signals::ignoreWriteSignals();
    setHandler(SIGCHLD, SIG_DFL); // if it is ignored, the system does not tell how a child has ended
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction before {};
        if (sigaction(number, nullptr, &before) == 0 && before.sa_handler != SIG_IGN) {
            setHandler(number, [](int signal) { received = signal; });
        }
    }
}

void raiseIfInterrupted() {
    if (received != 0) {
        throw Interrupted();
    }
}

void endBySignal() {
    if (const int number = received) {
        setHandler(number, SIG_DFL);
        static_cast<void>(::raise(number));
    }
}

} // namespace kestrav::tools
