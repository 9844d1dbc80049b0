#include "platform/HeldSignals.h"

#include "platform/Signals.h"

namespace kestrav::platform {

HeldSignals::HeldSignals() {
    sigemptyset(&held_);
    for (const int number : {SIGINT, SIGQUIT, SIGTERM, SIGHUP, SIGUSR1, SIGUSR2}) {
        if (!Signals::wasIgnoredAtStart(number)) {
            sigaddset(&held_, number);
        }
    }
    pthread_sigmask(SIG_BLOCK, &held_, &saved_);
}

HeldSignals::~HeldSignals() {
    pthread_sigmask(SIG_SETMASK, &saved_, nullptr);
}

std::optional<int> HeldSignals::take() const {
    sigset_t pending;
    if (sigpending(&pending) != 0) {
        return std::nullopt;
    }
    for (const int number : {SIGINT, SIGQUIT, SIGTERM, SIGHUP, SIGUSR1, SIGUSR2}) {
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

} // namespace kestrav::platform
