#pragma once

#include <csignal>
#include <cstdint>
#include <functional>

namespace kestrav::platform {

/// A signal from outside that the Java program is to get: SIGINT, SIGQUIT, SIGTERM, SIGHUP, SIGUSR1 or SIGUSR2. Before
/// the program runs it asks the process to end. (A Java program answers SIGQUIT with its threads' stacks and goes on.)
struct TerminationSignal {
    int number = 0;
    /// True if the terminal sent it to the whole foreground group: a child that ran by then has it already.
    /// Never for SIGHUP, which goes to the session's leader alone.
    bool fromTerminal = false;
    /// When it came, on the clock of `monotonicNanoseconds`.
    std::int64_t when = 0;
};

/// While it exists, the calling thread and the threads that it starts receive no signals; those threads never do.
class SignalsBlocked {
public:
    SignalsBlocked();
    SignalsBlocked(const SignalsBlocked &) = delete;
    SignalsBlocked &operator=(const SignalsBlocked &) = delete;
    ~SignalsBlocked();

private:
    sigset_t saved_{};
};

/// What the process does about signals. One that was ignored when the process started stays ignored, in children too:
/// the program that started it (nohup, a shell's background job) wants it so.
class Signals {
public:
    /// Makes SIGPIPE and SIGXFSZ harmless: a write fails with an error instead of ending the process.
    static void ignoreWriteSignals();

    /// True if the signal was ignored when the process was started, as far as that was asked for (also by
    /// `ignoreWriteSignals`) before anything changed it.
    [[nodiscard]] static bool wasIgnoredAtStart(int number);

    /// From now on the signals are handed to `receiver`, each one, in order, on a thread of their own: the main thread
    /// may be held up by a display that does not answer. Called once.
    static void handleTermination(std::function<void(TerminationSignal)> receiver);
};

} // namespace kestrav::platform
