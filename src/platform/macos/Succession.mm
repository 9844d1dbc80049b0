#import "platform/macos/Succession.h"

/// AppKit's own method; not every kit like it has one.
@interface NSApplication (ActivationPolicy)
- (BOOL)setActivationPolicy:(NSApplicationActivationPolicy)policy;
@end

static pid_t successor = 0;

/// The successor as an application with a Dock icon, or nil.
static NSRunningApplication *successorInDock() {
    NSRunningApplication *application =
        successor != 0 ? [NSRunningApplication runningApplicationWithProcessIdentifier:successor] : nil;
    const bool hasIcon = application != nil && [application activationPolicy] == NSApplicationActivationPolicyRegular;
    return hasIcon ? application : nil;
}

@implementation Succession

+ (void)startFor:(pid_t)process {
    successor = process;
    [[[NSWorkspace sharedWorkspace] notificationCenter] addObserver:self
                                                           selector:@selector(stepBack:)
                                                               name:NSWorkspaceDidActivateApplicationNotification
                                                             object:nil];
    [self stepBack:nil];
}

+ (BOOL)successorIsInDock {
    return successorInDock() != nil;
}

+ (void)hideFromDock {
    if ([NSApp respondsToSelector:@selector(setActivationPolicy:)]) {
        [NSApp setActivationPolicy:NSApplicationActivationPolicyAccessory];
    }
}

+ (void)stepBack:(NSNotification *)notification {
    NSRunningApplication *application = successorInDock();
    if (application == nil) {
        return;
    }
    [[[NSWorkspace sharedWorkspace] notificationCenter] removeObserver:self];
    if ([NSApp isActive]) {
        // From macOS 14 on an application comes to the front only if the one that is there lets it.
        if ([NSApp respondsToSelector:@selector(yieldActivationToApplication:)]) {
            [NSApp performSelector:@selector(yieldActivationToApplication:) withObject:application];
        }
        [application activateWithOptions:0];
    }
    [self hideFromDock];
}

@end
