#pragma once

#include <csignal>
#include <cstdint>
#include <functional>
#include <optional>

namespace kestrav::platform {

/// A signal from outside that is meant for the Java program: SIGINT, SIGQUIT, SIGTERM, SIGHUP, SIGUSR1 or SIGUSR2.
/// Before that program runs, the signal asks this process to end. (A Java program answers SIGQUIT by printing its
/// threads' stacks and carries on.)
struct TerminationSignal {
    int number = 0;
    /// True if the terminal sent it to the whole foreground group: a child that was running by then has received it
    /// already. Never true for SIGHUP, which is sent to the session's leader alone.
    bool fromTerminal = false;
    /// When it arrived, on the clock of `monotonicNanoseconds`.
    std::int64_t when = 0;
};

/// While it exists, the calling thread receives no signals. The threads that it starts meanwhile never receive any.
class SignalsBlocked {
public:
    SignalsBlocked();
    SignalsBlocked(const SignalsBlocked &) = delete;
    SignalsBlocked &operator=(const SignalsBlocked &) = delete;
    ~SignalsBlocked();

private:
    sigset_t saved_{};
};

/// While it exists, the signals that a `TerminationSignal` stands for do nothing to this process but wait to be taken;
/// those ignored when the process was started stay ignored. No handler is installed. One that was not taken has its
/// effect when this object ends. Only while the process has one thread.
class SignalsHeld {
public:
    SignalsHeld();
    SignalsHeld(const SignalsHeld &) = delete;
    SignalsHeld &operator=(const SignalsHeld &) = delete;
    ~SignalsHeld();

    /// The number of a signal that has come, if there is one; does not wait.
    [[nodiscard]] std::optional<int> take() const;

private:
    sigset_t held_{};
    sigset_t saved_{};
};

/// What the process does about signals. One that was ignored when the process started stays ignored, in children too:
/// the program that started it (nohup, a shell's background job) asked for that.
class Signals {
public:
    /// Makes SIGPIPE and SIGXFSZ harmless: a write fails with an error instead of ending the process.
    static void ignoreWriteSignals();

    /// True if the signal was ignored when the process started. All signals are looked at in the first call, which must
    /// come before anything changes them; `ignoreWriteSignals` makes that call.
    [[nodiscard]] static bool wasIgnoredAtStart(int number);

    /// From now on each signal is passed to `receiver`, in order, on a thread of its own, because the main thread may
    /// be blocked by a display that does not answer. Called once.
    static void handleTermination(std::function<void(TerminationSignal)> receiver);
};

} // namespace kestrav::platform
