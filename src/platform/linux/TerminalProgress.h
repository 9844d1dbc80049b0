#pragma once

#include "platform/Controls.h"

#include <string>

namespace kestrav::platform {

/// The progress window's stand-in where there is a terminal but no display: percentage and caption on one line of
/// standard error, for as long as the run can be cancelled. Main thread, but for `erase`.
class TerminalProgress {
public:
    /// Prints nothing before the first change of the controls, which have to outlive the object.
    explicit TerminalProgress(WindowControls &controls);
    TerminalProgress(const TerminalProgress &) = delete;
    TerminalProgress &operator=(const TerminalProgress &) = delete;
    ~TerminalProgress();

    /// Rewrites the line if it has changed.
    void update();

    /// Erases the line, if there is one, before something else is written to standard error. Any thread.
    static void erase();

private:
    [[nodiscard]] std::string text() const;

    WindowControls &controls_;
    bool usable_ = false; // standard error is a terminal that can erase a line
    bool changed_ = false;
    std::string shown_;
};

} // namespace kestrav::platform
