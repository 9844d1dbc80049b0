#pragma once

#include "platform/Controls.h"

#include <exception>
#include <functional>

namespace kestrav::platform {

/// What the application object asks of the program. All calls come on the main thread; the controls outlive the
/// delegate's use of them.
class ApplicationDelegate {
public:
    virtual ~ApplicationDelegate() = default;

    /// Comes first.
    virtual void setControls(WindowControls &controls) = 0;

    /// Before any window exists; closing the window here means that none will.
    virtual void applicationWillFinishLaunching() = 0;
    /// The controls are there; a window takes over what they hold as soon as it opens.
    virtual void applicationDidFinishLaunching() = 0;
    /// The Cancel button, or the window's being closed.
    virtual void cancel() = 0;

    /// Tells of the exception that is being handled, which a loop of the platform's keeps from `main`, and ends the
    /// run. The loop goes on, for as long as others need to come to an end.
    virtual void endAfterFailure() = 0;
};

/// Calls into the program from a loop of the platform's, which no exception may pass through.
inline void callProgram(ApplicationDelegate &delegate, const std::function<void()> &action) noexcept {
    try {
        action();
    } catch (const std::exception &) {
        delegate.endAfterFailure();
    }
}

/// The application object of the platform.
class Application {
public:
    /// Hands over the controls, calls the two launch callbacks and runs the event loop. The process ends through
    /// `endProcess`; this returns only if the platform's loop does. Main thread.
    static int main(int argc, char **argv, ApplicationDelegate &delegate);

    /// Brings the application to the front, ignoring other applications.
    static void activateIgnoringOtherApps();
};

} // namespace kestrav::platform
