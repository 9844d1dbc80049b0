#pragma once

#include <functional>

namespace kestrav::platform {

/// A request to end that came from outside: SIGINT, SIGTERM or SIGHUP.
struct TerminationSignal {
    int number = 0;
    /// True if the terminal sent it, which it does to the whole foreground group: a child of ours has it already.
    bool fromTerminal = false;
};

class Signals {
public:
    /// Makes SIGPIPE and SIGXFSZ harmless: a write fails with an error instead of ending the process.
    static void ignoreWriteSignals();

    /// From now on SIGINT, SIGTERM and SIGHUP are handed to `receiver` on the main queue, each one, in order. Called
    /// once.
    static void handleTermination(std::function<void(TerminationSignal)> receiver);
};

} // namespace kestrav::platform
