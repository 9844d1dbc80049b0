#include "platform/Application.h"

#include "platform/OperationQueue.h"
#include "platform/Thread.h"
#include "platform/linux/DesktopWindow.h"
#include "platform/linux/TerminalProgress.h"

#include <sys/resource.h>

#include <exception>

namespace kestrav::platform {

namespace {

[[noreturn]] void runWithoutWindow(ApplicationDelegate &delegate) {
    for (;;) {
        callProgram(delegate, [] { OperationQueue::mainQueue().waitAndRun(); });
    }
}

[[noreturn]] void runOnTerminal(WindowControls &controls, ApplicationDelegate &delegate) {
    TerminalProgress progress(controls);
    for (;;) {
        callProgram(delegate, [&] {
            OperationQueue::mainQueue().waitAndRun();
            progress.update();
        });
    }
}

/// The stack that the window's library needs; the user's limit may leave less on the first thread.
constexpr rlim_t windowStack = rlim_t{8} << 20U;

bool stackIsSmall() {
    rlimit limit{};
    return getrlimit(RLIMIT_STACK, &limit) == 0 && limit.rlim_cur < windowStack;
}

/// Threads that libraries create take their stack size from that limit, so it gets a default of its own.
void giveThreadsTheirStack() {
    pthread_attr_t attributes;
    if (pthread_attr_init(&attributes) == 0) {
        if (pthread_attr_setstacksize(&attributes, Thread::usualStack) == 0) {
            pthread_setattr_default_np(&attributes); // if it fails, they keep that size
        }
        pthread_attr_destroy(&attributes);
    }
}

[[noreturn]] void runLoop(ApplicationDelegate &delegate) {
    WindowControls controls;
    delegate.setControls(controls);
    delegate.applicationWillFinishLaunching();
    if (!controls.window.isVisible()) {
        delegate.applicationDidFinishLaunching();
        runWithoutWindow(delegate);
    }

    // The window opens afterwards and shows what the controls hold by then, so that nothing the delegate starts has to
    // wait for it.
    DesktopWindow window(controls, delegate, [&delegate] { runWithoutWindow(delegate); });
    delegate.applicationDidFinishLaunching();
    if (!window.open()) {
        runOnTerminal(controls, delegate);
    }
    window.run();
    runWithoutWindow(delegate);
}

} // namespace

int Application::main(int /*argc*/, char ** /*argv*/, ApplicationDelegate &delegate) {
    if (!stackIsSmall()) {
        runLoop(delegate);
    }
    giveThreadsTheirStack();
    std::exception_ptr failure;
    const auto body = [&] {
        try {
            runLoop(delegate);
        } catch (const std::exception &) {
            failure = std::current_exception();
        }
    };
    Thread(body, windowStack).join();
    std::rethrow_exception(failure); // the loop ends in no other way
}

void Application::hideFromDock() {
    // Whatever lists applications here, lists windows.
}

void Application::giveWayTo(int /*process*/) {
    // This process shows nothing once its window is closed.
}

void Application::activateIgnoringOtherApps() {
    // Nothing to do: a window comes to the front when it is shown.
}

} // namespace kestrav::platform
