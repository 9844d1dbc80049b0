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
    kestrav::platform::ImageView iconView;
    kestrav::platform::Window window;
    kestrav::platform::ProgressIndicator progressBar;
    kestrav::platform::Button cancelButton;
    kestrav::platform::TextField label;
    kestrav::platform::TextField progressLabel;
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
    Program &state = program();
    observe(state.iconView, iconView);
    observe(state.window, window);
    observe(state.progressBar, progressBar);
    observe(state.cancelButton, cancelButton);
    observe(state.label, label);
    observe(state.progressLabel, progressLabel);
    state.delegate->setIconView(&state.iconView);
    state.delegate->setWindow(&state.window);
    state.delegate->setProgressBar(&state.progressBar);
    state.delegate->setCancelButton(&state.cancelButton);
    state.delegate->setLabel(&state.label);
    state.delegate->setProgressLabel(&state.progressLabel);
    [MainQueueWatcher start];
    state.delegate->applicationWillFinishLaunching();
}

- (void)applicationDidFinishLaunching:(NSNotification *)notification {
    if (program().window.isVisible()) {
        [window center];
        [window makeKeyAndOrderFront:nil];
    }
    program().delegate->applicationDidFinishLaunching();
}

- (IBAction)cancel:(id)sender {
    program().delegate->cancel();
}

/// Closing the window is the Cancel button, for as long as that works.
- (BOOL)windowShouldClose:(id)sender {
    if (program().cancelButton.isEnabled()) {
        program().delegate->cancel();
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
