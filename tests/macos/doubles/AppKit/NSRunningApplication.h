#pragma once

#include_next <AppKit/NSRunningApplication.h>

APPKIT_EXPORT NSString *NSWorkspaceDidActivateApplicationNotification;

/// What a test makes of the one other process; nothing else is known to the system.
@interface NSRunningApplication (OfTests)
+ (void)setPolicyOfOther:(NSApplicationActivationPolicy)policy;
@end
