#pragma once

#import <AppKit/AppKit.h>

/// Leaves this application's place in the Dock and at the front to the process of the Java program. Main thread.
@interface Succession : NSObject

/// Does so as soon as the process has a Dock icon: now, or when some application becomes active. Until then, and for a
/// program that never has one, this application's own icon stays. Called once.
+ (void)startFor:(pid_t)process;

/// True if the process has a Dock icon: the system asks it to quit when the session ends.
+ (BOOL)successorIsInDock;

/// Removes this application's icon from the Dock.
+ (void)hideFromDock;

@end
