#include "platform/Application.h"
#include "platform/OperationQueue.h"
#include "platform/Signals.h"

#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdio>
#include <stdexcept>
#include <thread>

#import "platform/macos/AppDelegate.h"

// Stands in for the program behind the real window: takes the controls, changes them, presses what can be pressed, and
// ends with status 0 if everything has arrived.

namespace platform = kestrav::platform;
using platform::OperationQueue;

namespace {

int failures = 0;
std::atomic<int> terminations = 0;

void check(bool condition, const char *what) {
    if (!condition) {
        std::fprintf(stderr, "window_probe: %s\n", what);
        ++failures;
    }
}

/// What the interface file has made.
AppDelegate *real() {
    return (AppDelegate *)[NSApp delegate];
}

class Probe final : public platform::ApplicationDelegate {
public:
    void setControls(platform::WindowControls &controls) override { controls_ = &controls; }

    void applicationWillFinishLaunching() override {
        check(![[real() window] isVisible], "no window before the program has had a say");
        showContent(); // all controls are there before the launch is finished
    }

    void applicationDidFinishLaunching() override {
        check([[real() window] isVisible], "the window is shown");
        // Only now: GNUstep has put a handler of its own in before.
        platform::Signals::handleTermination([](platform::TerminationSignal signal) {
            terminations += signal.number == SIGTERM ? 1 : 2;
            OperationQueue::mainQueue().addOperation([] { throw std::runtime_error("for the loop"); });
        });
        // What follows comes through the main queue, from another thread.
        std::thread([this] {
            for (int number = 0; number < 1000; ++number) {
                OperationQueue::mainQueue().addOperation([this, number] {
                    check([NSThread isMainThread] && tasks_++ == number, "tasks keep their order on the main thread");
                });
            }
            OperationQueue::mainQueue().addOperation([this] { press(); });
        }).detach();
    }

    void cancel() override { ++cancels_; }

    void endAfterFailure() override {
        check(terminations == 1, "quitting asks the process to end");
        std::_Exit(failures == 0 ? 0 : 1);
    }

private:
    void showContent() {
        controls_->window.setTitle("Title \xC3\xA4");
        controls_->label.setStringValue("Caption \xF0\x9F\x98\x80");
        controls_->progressLabel.setStringValue("In numbers");
        controls_->cancelButton.setTitle("Stop");
        check([[[real() window] title] isEqualToString:@"Title \u00E4"] &&
                  [[[real() label] stringValue] isEqualToString:@"Caption \U0001F600"] &&
                  [[[real() progressLabel] stringValue] isEqualToString:@"In numbers"] &&
                  [[[real() cancelButton] title] isEqualToString:@"Stop"],
              "the texts");
        controls_->progressBar.setDoubleValue(40);
        check([[real() progressBar] doubleValue] == 40 && ![[real() progressBar] isIndeterminate], "the bar");
        controls_->iconView.setImage("/nowhere.icns");
        check([real() iconView] != nil && [[real() iconView] image] == nil, "a missing image is none");
        controls_->progressBar.setIndeterminate(true);
        controls_->progressBar.startAnimation();
        check([[real() progressBar] isIndeterminate], "the bar without an end");
    }

    void press() {
        check(tasks_ == 1000, "all tasks have run");
        [[real() cancelButton] performClick:nil];
        check(cancels_ == 1, "the button cancels");
        [[real() window] performClose:nil];
        check(cancels_ == 2 && [[real() window] isVisible], "closing the window is the button");
        controls_->cancelButton.setEnabled(false);
        [[real() cancelButton] performClick:nil];
        [[real() window] performClose:nil];
        check(cancels_ == 2 && ![[real() window] isVisible], "a disabled button does nothing, closing only closes");
        controls_->window.close();
        controls_->label.setStringValue("to nobody");
        check([real() applicationShouldTerminate:NSApp] == NSTerminateLater, "quitting waits");
    }

    platform::WindowControls *controls_ = nullptr;
    int tasks_ = 0, cancels_ = 0;
};

} // namespace

int main(int argc, char **argv) {
    alarm(60);
    static Probe probe;
    return platform::Application::main(argc, argv, probe);
}
