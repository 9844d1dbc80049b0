#include "platform/Application.h"

#include "platform/OperationQueue.h"
#include "platform/WindowControls.h"
#include "platform/linux/ModuleWindow.h"
#include "platform/linux/TerminalProgress.h"

namespace kestrav::platform {

namespace {

[[noreturn]] void runWithoutWindow() {
    for (;;) {
        OperationQueue::mainQueue().waitAndRun();
    }
}

[[noreturn]] void runOnTerminal(WindowControls &controls) {
    TerminalProgress progress(controls);
    for (;;) {
        OperationQueue::mainQueue().waitAndRun();
        progress.update();
    }
}

} // namespace

int Application::main(int /*argc*/, char ** /*argv*/, ApplicationDelegate &delegate) {
    WindowControls controls;
    controls.connect(delegate);
    delegate.applicationWillFinishLaunching();
    if (!controls.window.isVisible()) {
        delegate.applicationDidFinishLaunching();
        runWithoutWindow();
    }

    // The window takes over what the controls hold by then. Nothing that the delegate starts has to wait for it.
    ModuleWindow window(controls, delegate, runWithoutWindow);
    delegate.applicationDidFinishLaunching();
    if (!window.open()) {
        runOnTerminal(controls);
    }
    window.run();
    runWithoutWindow();
}

void Application::activateIgnoringOtherApps() {
    // A window comes to the front by being shown.
}

} // namespace kestrav::platform
