#pragma once

#include <csignal>
#include <optional>

namespace kestrav::platform {

/// While it exists, the signals that a `TerminationSignal` stands for do nothing to this process but wait to be taken;
/// those ignored when the process was started stay ignored. No handler is installed. One that was not taken has its
/// effect when this object ends. Only while the process has one thread.
class HeldSignals {
public:
    HeldSignals();
    HeldSignals(const HeldSignals &) = delete;
    HeldSignals &operator=(const HeldSignals &) = delete;
    ~HeldSignals();

    /// The number of a signal that has come, if there is one; does not wait.
    [[nodiscard]] std::optional<int> take() const;

private:
    sigset_t held_{};
    sigset_t saved_{};
};

} // namespace kestrav::platform
