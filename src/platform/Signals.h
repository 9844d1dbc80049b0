#pragma once

#include <cstdint>
#include <functional>

namespace kestrav::platform {

/// A request to end that came from outside: SIGINT, SIGQUIT, SIGTERM or SIGHUP. (A Java program answers SIGQUIT with
/// its threads' stacks and goes on.)
struct TerminationSignal {
    int number = 0;
    /// True if the terminal sent it to the whole foreground group: a child of ours that ran by then has it already.
    /// Never for SIGHUP, which goes to the session's leader alone.
    bool fromTerminal = false;
    /// When it came, on the clock of `monotonicNanoseconds`.
    std::int64_t when = 0;
};

/// What the process does about signals.
class Signals {
public:
    /// Makes SIGPIPE and SIGXFSZ harmless: a write fails with an error instead of ending the process.
    static void ignoreWriteSignals();

    /// From now on SIGINT, SIGQUIT, SIGTERM and SIGHUP are handed to `receiver`, each one, in order, on a thread of
    /// their own: the main thread may be held up by a display that does not answer. Called once.
    static void handleTermination(std::function<void(TerminationSignal)> receiver);
};

} // namespace kestrav::platform
