#pragma once

#include "platform/Controls.h"

#include <functional>
#include <string>

namespace kestrav::platform {

/// What the application object asks of the program. All calls are made on the main thread. The controls outlive the
/// delegate's use of them.
class ApplicationDelegate {
public:
    virtual ~ApplicationDelegate() = default;

    /// Called first.
    virtual void setControls(WindowControls &controls) = 0;

    /// Called before any window exists. If the window is closed here, none is ever shown.
    virtual void applicationWillFinishLaunching() = 0;
    /// Called once the controls are set up. A window shows what they hold as soon as it opens.
    virtual void applicationDidFinishLaunching() = 0;
    /// Called when the Cancel button is pressed or the window is closed.
    virtual void cancel() = 0;

    /// Called when the system wants a document opened, which is a path or a URL. False if it comes too late.
    virtual bool open(const std::string & /*document*/) { return false; }

    /// Called when the user quits the application, or the system does at the end of a session. If the system asks the
    /// Java program as well, which may have documents to save, that is left to the system. The process ends through
    /// `endProcess` when everything is done.
    virtual void quit(bool /*systemAsksProgram*/) { cancel(); }

    /// Reports the exception that is being handled, which cannot pass through the platform's event loop to `main`, and
    /// ends the run. The loop keeps running until the rest of the program has come to its end.
    virtual void endAfterFailure() = 0;
};

/// Calls into the program from the platform's event loop, which exceptions must not pass through.
void callProgram(ApplicationDelegate &delegate, const std::function<void()> &action) noexcept;

/// The platform's application object.
class Application {
public:
    /// Hands over the controls, calls the two launch callbacks and runs the event loop. The process ends through
    /// `endProcess`; this returns only if the platform's loop does. Main thread.
    static int main(int argc, char **argv, ApplicationDelegate &delegate);

    /// Keeps the application out of the Dock and the list of running ones; its windows show. Before the first window.
    static void hideFromDock();

    /// Has another process take this one's place for the user: as soon as it has a Dock icon, this process's own one is
    /// removed, and if this application is the active one, that one becomes it. Main thread, once, without a window.
    static void giveWayTo(int process);

    /// Brings the application to the front, ignoring other applications.
    static void activateIgnoringOtherApps();
};

} // namespace kestrav::platform
