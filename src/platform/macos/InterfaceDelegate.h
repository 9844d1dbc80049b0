#pragma once

#include "platform/Application.h"

#import <AppKit/AppKit.h>

/// The object that the main interface file creates: it owns the real controls, shows in them what the program's
/// controls hold, and forwards events to the program's delegate.
@interface AppDelegate : NSObject <NSApplicationDelegate, NSWindowDelegate> {
    NSImageView *iconView;
    NSWindow *window;
    NSProgressIndicator *progressBar;
    NSButton *cancelButton;
    NSTextField *label;
    NSTextField *progressLabel;
    NSMenuItem *quitItem;
}

@property(assign) IBOutlet NSImageView *iconView;
@property(assign) IBOutlet NSWindow *window;
@property(assign) IBOutlet NSProgressIndicator *progressBar;
@property(assign) IBOutlet NSButton *cancelButton;
@property(assign) IBOutlet NSTextField *label;
@property(assign) IBOutlet NSTextField *progressLabel;
@property(assign) IBOutlet NSMenuItem *quitItem;

/// The program's delegate, to be set before the interface file is loaded. It lives until the process ends.
+ (void)setProgram:(kestrav::platform::ApplicationDelegate *)delegate;

/// Files are delivered here as well.
- (void)application:(NSApplication *)sender openURLs:(NSArray *)urls;

- (IBAction)cancel:(id)sender;

@end
