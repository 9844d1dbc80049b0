#include "platform/Application.h"
#include "platform/OperationQueue.h"
#include "platform/Signals.h"

#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#import "platform/macos/AppDelegate.h"

// Stands in for the program behind the real window: takes the controls, changes them, presses what can be pressed, and
// ends with status 0 if everything has arrived.

namespace platform = kestrav::platform;

namespace {

int failures = 0;
std::atomic<int> terminations = 0;

void check(bool condition, const char *what) {
    if (!condition) {
        std::fprintf(stderr, "window_probe: %s\n", what);
        ++failures;
    }
}

bool shows(NSTextField *field, const char *text) {
    return [[field stringValue] isEqualToString:[NSString stringWithUTF8String:text]];
}

class Probe final : public platform::ApplicationDelegate {
public:
    void setIconView(platform::ImageView *view) override { iconView = view; }
    void setWindow(platform::Window *view) override { window = view; }
    void setProgressBar(platform::ProgressIndicator *view) override { progressBar = view; }
    void setCancelButton(platform::Button *view) override { cancelButton = view; }
    void setLabel(platform::TextField *view) override { label = view; }
    void setProgressLabel(platform::TextField *view) override { progressLabel = view; }

    void applicationWillFinishLaunching() override {
        AppDelegate *real = (AppDelegate *)[NSApp delegate];
        check([real isKindOfClass:[AppDelegate class]], "the interface file makes the delegate");
        check([real iconView] != nil && [real window] != nil && [real progressBar] != nil &&
                  [real cancelButton] != nil && [real label] != nil && [real progressLabel] != nil,
              "all six outlets are connected");
        check(iconView != nullptr && window != nullptr && progressBar != nullptr && cancelButton != nullptr &&
                  label != nullptr && progressLabel != nullptr,
              "the program has its controls before the launch is finished");
        check(![[real window] isVisible], "no window before the program has had a say");
    }

    void applicationDidFinishLaunching() override {
        check([[(AppDelegate *)[NSApp delegate] window] isVisible], "the window is shown");
        showContent();
        // Only now: GNUstep has put a handler of its own in before.
        platform::Signals::handleTermination([](platform::TerminationSignal signal) {
            terminations += signal.number == SIGTERM ? 1 : 2;
            platform::OperationQueue::mainQueue().addOperation([] { throw std::runtime_error("for the loop"); });
        });
        // What follows comes through the main queue, from another thread.
        std::thread([this] {
            for (int number = 0; number < 1000; ++number) {
                platform::OperationQueue::mainQueue().addOperation([this, number] {
                    check([NSThread isMainThread], "a task runs on the main thread");
                    order_.push_back(number);
                });
            }
            platform::OperationQueue::mainQueue().addOperation([this] { press(); });
        }).detach();
    }

    void cancel() override { ++cancels_; }

    void endAfterFailure() override {
        check(terminations == 1, "quitting asks the process to end");
        std::_Exit(failures == 0 ? 0 : 1);
    }

private:
    void showContent() {
        AppDelegate *real = (AppDelegate *)[NSApp delegate];
        window->setTitle("Title \xC3\xA4");
        label->setStringValue("Caption \xF0\x9F\x98\x80");
        progressLabel->setStringValue("In numbers");
        cancelButton->setTitle("Stop");
        progressBar->setDoubleValue(40);
        iconView->setImage("/nowhere.icns");
        check([[[real window] title] isEqualToString:[NSString stringWithUTF8String:"Title \xC3\xA4"]], "title");
        check(shows([real label], "Caption \xF0\x9F\x98\x80") && shows([real progressLabel], "In numbers"), "labels");
        check([[[real cancelButton] title] isEqualToString:@"Stop"], "the button's title");
        check([[real progressBar] doubleValue] == 40 && ![[real progressBar] isIndeterminate], "the bar");
        check([[real iconView] image] == nil, "a missing image is none");
        progressBar->setIndeterminate(true);
        progressBar->startAnimation();
        check([[real progressBar] isIndeterminate], "the bar without an end");
    }

    void press() {
        AppDelegate *real = (AppDelegate *)[NSApp delegate];
        for (int number = 0; number < 1000; ++number) {
            check(order_.size() == 1000 && order_[static_cast<std::size_t>(number)] == number,
                  "tasks keep their order");
        }
        [[real cancelButton] performClick:nil];
        check(cancels_ == 1, "the button cancels");
        [[real window] performClose:nil];
        check(cancels_ == 2 && [[real window] isVisible], "closing the window is the button");
        cancelButton->setEnabled(false);
        [[real cancelButton] performClick:nil];
        check(cancels_ == 2, "a disabled button does nothing");
        [[real window] performClose:nil];
        check(cancels_ == 2 && ![[real window] isVisible], "then closing only closes");
        window->close();
        label->setStringValue("to nobody");
        check([(AppDelegate *)[NSApp delegate] applicationShouldTerminate:NSApp] == NSTerminateLater, "quitting waits");
    }

    platform::ImageView *iconView = nullptr;
    platform::Window *window = nullptr;
    platform::ProgressIndicator *progressBar = nullptr;
    platform::Button *cancelButton = nullptr;
    platform::TextField *label = nullptr;
    platform::TextField *progressLabel = nullptr;
    std::vector<int> order_;
    int cancels_ = 0;
};

} // namespace

int main(int argc, char **argv) {
    alarm(60);
    static Probe probe;
    return platform::Application::main(argc, argv, probe);
}
