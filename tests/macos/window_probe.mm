#include "platform/Application.h"
#include "platform/OperationQueue.h"

#include <unistd.h>

#include <cstdio>
#include <stdexcept>
#include <string>
#include <thread>

#import "platform/macos/InterfaceDelegate.h"

@interface NSApplication (Activation)
- (BOOL)setActivationPolicy:(NSApplicationActivationPolicy)policy;
- (void)yieldActivationToApplication:(NSRunningApplication *)application;
@end

// Stands in for the program behind the real window: changes the controls, presses what can be pressed, and ends with
// status 0 if everything had its effect.

namespace {

using namespace kestrav::platform;

int failures = 0;
bool isAccessory = false;
bool yielded = false;

void check(bool condition, const char *what) {
    if (!condition) {
        std::fprintf(stderr, "window_probe: %s\n", what);
        ++failures;
    }
}

class Probe final : public ApplicationDelegate {
public:
    void setControls(WindowControls &controls) override { controls_ = &controls; }

    void applicationWillFinishLaunching() override {
        real_ = (AppDelegate *)[NSApp delegate]; // made by the interface file
        check(![[real_ window] isVisible], "no window before the program has had a say");
        controls_->window.setTitle("Title \xC3\xA4");
        controls_->label.setStringValue("Caption \xF0\x9F\x98\x80");
        controls_->progressLabel.setStringValue("In numbers");
        controls_->cancelButton.setTitle("Stop");
        controls_->quitItem.setTitle("Quit it");
        check([[[real_ window] title] isEqualToString:@"Title \u00E4"] &&
                  [[[real_ label] stringValue] isEqualToString:@"Caption \U0001F600"] &&
                  [[[real_ progressLabel] stringValue] isEqualToString:@"In numbers"] &&
                  [[[real_ cancelButton] title] isEqualToString:@"Stop"] &&
                  [[[[[[NSApp mainMenu] itemAtIndex:0] submenu] itemAtIndex:0] title] isEqualToString:@"Quit it"],
              "the texts");
        controls_->progressBar.setDoubleValue(40);
        check([[real_ progressBar] doubleValue] == 40 && ![[real_ progressBar] isIndeterminate], "the bar");
        controls_->progressBar.setIndeterminate(true);
        check([[real_ progressBar] isIndeterminate], "the bar without an end");
        controls_->iconView.setImage("/nowhere.icns");
        check([real_ iconView] != nil && [[real_ iconView] image] == nil, "a missing image is none");
    }

    void applicationDidFinishLaunching() override {
        check([[real_ window] isVisible], "the window is shown");
        std::thread([this] { OperationQueue::mainQueue().addOperation([this] { press(); }); }).detach();
    }

    void cancel() override { ++cancels_; }
    bool open(const std::string &document) override {
        documents_ += document + ";";
        return true;
    }
    void quit(bool systemAsksProgram) override { quits_ += systemAsksProgram ? "system;" : "signal;"; }
    void endAfterFailure() override { std::_Exit(failures == 0 ? 0 : 1); }

private:
    void press() {
        check([NSThread isMainThread], "the queue's thread is the main one");
        NSEvent *escape = [NSEvent keyEventWithType:NSKeyDown
                                           location:NSZeroPoint
                                      modifierFlags:0
                                          timestamp:0
                                       windowNumber:[[real_ window] windowNumber]
                                            context:nil
                                         characters:@"\033"
                        charactersIgnoringModifiers:@"\033"
                                          isARepeat:NO
                                            keyCode:0];
        check([[real_ window] performKeyEquivalent:escape] && cancels_ == 1,
              "Escape presses the button, which cancels");
        [[real_ window] performClose:nil];
        check(cancels_ == 2 && [[real_ window] isVisible], "closing the window is the button");
        controls_->cancelButton.setEnabled(false);
        [[real_ cancelButton] performClick:nil];
        [[real_ window] performClose:nil];
        check(cancels_ == 2 && ![[real_ window] isVisible], "a disabled button does nothing, closing only closes");
        controls_->window.close();
        NSArray *urls =
            [NSArray arrayWithObjects:[NSURL fileURLWithPath:@"/a b"], [NSURL URLWithString:@"tool:x?y=%20"], nil];
        [real_ application:NSApp openURLs:urls];
        check(documents_ == "/a b;tool:x?y=%20;", "documents are paths, addresses as they are");
        quit();
        OperationQueue::mainQueue().addOperation([] { throw std::runtime_error("for the loop"); });
    }

    /// At the end of a session, before and after the program has an icon; then without a reason.
    void quit() {
        Application::activateIgnoringOtherApps();
        [NSAppleEventManager setQuitReason:0x726C676F];
        Application::giveWayTo(1);
        check(!isAccessory && [real_ applicationShouldTerminate:NSApp] == NSTerminateLater, "the icon stays; a wait");
        [NSRunningApplication setPolicyOfOther:NSApplicationActivationPolicyRegular];
        [[[NSWorkspace sharedWorkspace] notificationCenter]
            postNotificationName:NSWorkspaceDidActivateApplicationNotification
                          object:nil];
        check(isAccessory && yielded, "one icon stays, and the other application may come to the front");
        [real_ applicationShouldTerminate:NSApp];
        [NSAppleEventManager setQuitReason:0];
        [real_ applicationShouldTerminate:NSApp];
        check(quits_ == "signal;system;signal;", "only a program that the system asks gets no signal");
    }

    WindowControls *controls_ = nullptr;
    AppDelegate *real_ = nil;
    int cancels_ = 0;
    std::string documents_;
    std::string quits_;
};

} // namespace

/// What newer systems have.
@implementation NSApplication (Activation)
- (BOOL)setActivationPolicy:(NSApplicationActivationPolicy)policy {
    isAccessory = policy == NSApplicationActivationPolicyAccessory;
    return YES;
}
- (void)yieldActivationToApplication:(NSRunningApplication *)application {
    yielded = !isAccessory;
}
@end

int main(int argc, char **argv) {
    alarm(60);
    static Probe probe;
    return Application::main(argc, argv, probe);
}
