#include "platform/Application.h"

#include "platform/Bundle.h"
#include "platform/OperationQueue.h"
#include "platform/SystemLog.h"
#include "platform/macos/CFValue.h"
#include "platform/macos/QuitReason.h"
#include "platform/posix/NeverDestroyed.h"

#import "platform/macos/InterfaceDelegate.h"
#import "platform/macos/Succession.h"

namespace kestrav::platform {

namespace {

/// The program's delegate and controls. They are not instance variables, because they outlive every object of the
/// interface file.
struct Program {
    ApplicationDelegate *delegate = nullptr;
    WindowControls controls;
};

Program &program() {
    static NeverDestroyed<Program> state;
    return state.get();
}

NSString *stringOf(const std::string &text) {
    return [(NSString *)cfText(text).release() autorelease];
}

// From now on the real control, which may be nil, shows what the program's control holds. Each has to outlive the
// other's use of it.

void observe(ImageView &view, NSImageView *shown) {
    view.setObserver([&view, shown] {
        NSImage *image = view.image() ? [[NSImage alloc] initWithContentsOfFile:stringOf(*view.image())] : nil;
        [shown setImage:image];
        [image release];
    });
}

/// Closes the real window when the program's window is closed; the caller shows it.
void observe(Window &window, NSWindow *shown) {
    window.setObserver([&window, shown] {
        [shown setTitle:stringOf(window.title())];
        if (!window.isVisible()) {
            [shown close];
        }
    });
}

void observe(ProgressIndicator &bar, NSProgressIndicator *shown) {
    [shown setDisplayedWhenStopped:YES];
    bar.setObserver([&bar, shown] {
        [shown setIndeterminate:bar.isIndeterminate()];
        [shown setDoubleValue:bar.doubleValue()];
        if (bar.isIndeterminate() && bar.isAnimating()) {
            [shown startAnimation:nil];
        } else {
            [shown stopAnimation:nil];
        }
    });
}

void observe(Button &button, NSButton *shown) {
    button.setObserver([&button, shown] {
        [shown setTitle:stringOf(button.title())];
        [shown setEnabled:button.isEnabled()];
    });
}

void observe(TextField &field, NSTextField *shown) {
    field.setObserver([&field, shown] { [shown setStringValue:stringOf(field.stringValue())]; });
}

void observe(MenuItem &item, NSMenuItem *shown) {
    item.setObserver([&item, shown] { [shown setTitle:stringOf(item.title())]; });
}

} // namespace

} // namespace kestrav::platform

using kestrav::platform::observe;
using kestrav::platform::OperationQueue;
using kestrav::platform::program;

/// Has the main thread's run loop run the tasks of `OperationQueue::mainQueue`, in every mode of the loop: also while a
/// menu is open or the application is about to end.
@interface MainQueueWatcher : NSObject {
    NSFileHandle *queue;
    kestrav::platform::ApplicationDelegate *delegate;
}

/// Starts this; called once, on the main thread. The delegate is told of a task that fails, and lives until the process
/// ends.
+ (void)startFor:(kestrav::platform::ApplicationDelegate *)delegate;

@end

@implementation MainQueueWatcher

+ (void)startFor:(kestrav::platform::ApplicationDelegate *)program {
    static MainQueueWatcher *watcher = nil;
    if (watcher == nil) {
        watcher = [[MainQueueWatcher alloc] init];
        watcher->delegate = program;
        [watcher watch];
    }
}

- (id)init {
    self = [super init];
    if (self != nil) {
        queue = [[NSFileHandle alloc] initWithFileDescriptor:OperationQueue::mainQueue().descriptor()
                                              closeOnDealloc:NO];
        [[NSNotificationCenter defaultCenter] addObserver:self
                                                 selector:@selector(runTasks:)
                                                     name:NSFileHandleDataAvailableNotification
                                                   object:queue];
    }
    return self;
}

- (void)watch {
    NSArray *modes =
        [NSArray arrayWithObjects:NSDefaultRunLoopMode, NSModalPanelRunLoopMode, NSEventTrackingRunLoopMode, nil];
    [queue waitForDataInBackgroundAndNotifyForModes:modes];
}

- (void)runTasks:(NSNotification *)notification {
    callProgram(*delegate, [] { OperationQueue::mainQueue().runPending(); });
    [self watch];
}

@end

@implementation AppDelegate

@synthesize iconView;
@synthesize window;
@synthesize progressBar;
@synthesize cancelButton;
@synthesize label;
@synthesize progressLabel;
@synthesize quitItem;

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
    observe(controls.quitItem, quitItem);
    delegate->setControls(controls);
    [MainQueueWatcher startFor:delegate];
    delegate->applicationWillFinishLaunching();
}

- (void)applicationDidFinishLaunching:(NSNotification *)notification {
    if (program().controls.window.isVisible()) {
        [window center];
        [window makeKeyAndOrderFront:nil];
        // The Tab key reaches the button, but a key that was meant for another window does not press it.
        [window makeFirstResponder:nil];
    }
    program().delegate->applicationDidFinishLaunching();
}

- (IBAction)cancel:(id)sender {
    callProgram(*program().delegate, [] { program().delegate->cancel(); });
}

/// Closing the window does what the Cancel button does, for as long as the button is enabled.
- (BOOL)windowShouldClose:(id)sender {
    if (program().controls.cancelButton.isEnabled()) {
        [self cancel:sender];
        return NO;
    }
    return YES;
}

/// What cannot be opened any more is answered as failed.
- (void)application:(NSApplication *)sender openURLs:(NSArray *)urls {
    NSMutableArray *documents = [NSMutableArray array];
    for (NSURL *url in urls) {
        [documents addObject:[url isFileURL] ? [url path] : [url absoluteString]];
    }
    [self application:sender openFiles:documents];
}

- (void)application:(NSApplication *)sender openFiles:(NSArray *)documents {
    bool opened = true;
    for (NSString *document in documents) {
        callProgram(*program().delegate, [&opened, document] {
            opened = program().delegate->open(kestrav::platform::textOf((CFStringRef)document)) && opened;
        });
    }
    [sender replyToOpenOrPrint:opened ? NSApplicationDelegateReplySuccess : NSApplicationDelegateReplyFailure];
}

/// Quitting cancels the run, or is passed on to the child. The worker ends the process when everything is done.
- (NSApplicationTerminateReply)applicationShouldTerminate:(NSApplication *)sender {
    NSAppleEventDescriptor *event = [[NSAppleEventManager sharedAppleEventManager] currentAppleEvent];
    const auto reason = [[event attributeDescriptorForKeyword:kestrav::platform::quitReasonKeyword] typeCodeValue];
    const bool systemAsksProgram = kestrav::platform::asksEveryApplication(reason) && [Succession successorIsInDock];
    callProgram(*program().delegate, [systemAsksProgram] { program().delegate->quit(systemAsksProgram); });
    return NSTerminateLater;
}

/// Nothing of the window is restored, so there is nothing that an attacker could have put there.
- (BOOL)applicationSupportsSecureRestorableState:(NSApplication *)sender {
    return YES;
}

@end

namespace kestrav::platform {

int Application::main(int argc, char **argv, ApplicationDelegate &delegate) {
    NSAutoreleasePool *pool = [[NSAutoreleasePool alloc] init];
    const bool hasInterface = Bundle::mainBundle().objectForInfoDictionaryKey("NSMainNibFile") != nullptr;
    [AppDelegate setProgram:&delegate];
    // The arguments belong to the Java program. The platform would also open those without a "-" as files.
    [[NSUserDefaults standardUserDefaults]
        registerDefaults:[NSDictionary dictionaryWithObject:@"NO" forKey:@"NSTreatUnknownArgumentsAsOpen"]];
    [pool drain];
    if (!hasInterface) {
        Log("Info.plist names no NSMainNibFile"); // otherwise nothing would ever happen
        return 1;
    }
    return NSApplicationMain(argc, const_cast<const char **>(argv));
}

void Application::hideFromDock() {
    [Succession hideFromDock];
}

void Application::giveWayTo(int process) {
    [Succession startFor:process];
}

void Application::activateIgnoringOtherApps() {
    [NSApp activateIgnoringOtherApps:YES];
}

} // namespace kestrav::platform
