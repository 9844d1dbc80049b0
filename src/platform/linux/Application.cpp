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

/// What the window's library needs; on the first thread a limit of the user's may leave less.
constexpr rlim_t windowStack = rlim_t{8} << 20U;

bool stackIsSmall() {
    rlimit limit{};
    return getrlimit(RLIMIT_STACK, &limit) == 0 && limit.rlim_cur < windowStack;
}

/// The threads that libraries make take the limit for their size as well.
void giveThreadsTheirStack() {
    pthread_attr_t attributes;
    if (pthread_attr_init(&attributes) == 0) {
        if (pthread_attr_setstacksize(&attributes, Thread::usualStack) == 0) {
            pthread_setattr_default_np(&attributes); // refused, they keep what they have
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

    // The window takes over what the controls hold by then. Nothing that the delegate starts has to wait for it.
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
    std::rethrow_exception(failure); // the loop has no other end
}

void Application::activateIgnoringOtherApps() {
    // A window comes to the front by being shown.
}

} // namespace kestrav::platform
