#import "platform/macos/AppDelegate.h"

#include "platform/macos/ControlObservers.h"
#include "platform/posix/NeverDestroyed.h"

#import "platform/macos/MainQueueWatcher.h"

#include <csignal>
#include <unistd.h>

using kestrav::platform::observe;

namespace {

/// What the program knows of the window. In no instance variable, because it outlives every object of the interface
/// file.
struct Program {
    kestrav::platform::ApplicationDelegate *delegate = nullptr;
    kestrav::platform::WindowControls controls;
};

Program &program() {
    static kestrav::platform::NeverDestroyed<Program> state;
    return state.get();
}

} // namespace

@implementation AppDelegate

@synthesize iconView;
@synthesize window;
@synthesize progressBar;
@synthesize cancelButton;
@synthesize label;
@synthesize progressLabel;

+ (void)setProgram:(kestrav::platform::ApplicationDelegate *)delegate {
    program().delegate = delegate;
}

- (void)applicationWillFinishLaunching:(NSNotification *)notification {
    auto &[delegate, controls] = program();
    observe(controls.iconView, iconView);
    observe(controls.window, window);
    observe(controls.progressBar, progressBar);
    observe(controls.cancelButton, cancelButton);
    observe(controls.label, label);
    observe(controls.progressLabel, progressLabel);
    delegate->setControls(controls);
    [MainQueueWatcher startFor:delegate];
    delegate->applicationWillFinishLaunching();
}

- (void)applicationDidFinishLaunching:(NSNotification *)notification {
    if (program().controls.window.isVisible()) {
        [window center];
        [window makeKeyAndOrderFront:nil];
        // The Tab key reaches the button, but no key presses it that was meant for another window.
        [window makeFirstResponder:nil];
    }
    program().delegate->applicationDidFinishLaunching();
}

- (IBAction)cancel:(id)sender {
    callProgram(*program().delegate, [] { program().delegate->cancel(); });
}

/// Closing the window is the Cancel button, for as long as that works.
- (BOOL)windowShouldClose:(id)sender {
    if (program().controls.cancelButton.isEnabled()) {
        [self cancel:sender];
        return NO;
    }
    return YES;
}

/// Arguments are the Java program's. The platform takes those without a "-" for files to open and would complain.
- (BOOL)application:(NSApplication *)sender openFile:(NSString *)file {
    return YES;
}

/// Quitting is asking the process to end, from the Dock or the system's shutting down: a cancel, or passed on to the
/// child. The worker ends the process when all is done.
- (NSApplicationTerminateReply)applicationShouldTerminate:(NSApplication *)sender {
    return kill(getpid(), SIGTERM) == 0 ? NSTerminateLater : NSTerminateNow;
}

@end
