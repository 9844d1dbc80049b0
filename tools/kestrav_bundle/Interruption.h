#pragma once

#include <exception>

namespace kestrav::tools {

/// Raised after a signal, so that what has been begun is undone on the way out.
class Interrupted : public std::exception {
public:
    [[nodiscard]] const char *what() const noexcept override { return "interrupted"; }
};

/// From now on SIGINT, SIGTERM and SIGHUP do not end the process but make `raiseIfInterrupted` raise; those that the
/// process was started to ignore stay ignored. A write beyond a limit fails instead of ending the process.
void catchSignals();

/// For work that takes its time, between two steps.
void raiseIfInterrupted();

/// Ends the process by the signal that has come, as its parent expects. Does nothing if none has.
void endBySignal();

} // namespace kestrav::tools
