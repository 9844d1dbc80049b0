#pragma once

#include_next <Foundation/NSAppleEventManager.h>

#include <Foundation/NSAppleEventDescriptor.h>

/// What GNUstep's empty classes lack. A test sets the reason of the quit event that is being handled.
@interface NSAppleEventDescriptor (Content)
- (NSAppleEventDescriptor *)attributeDescriptorForKeyword:(unsigned)keyword;
- (unsigned)typeCodeValue;
@end

@interface NSAppleEventManager (Events)
+ (NSAppleEventManager *)sharedAppleEventManager;
+ (void)setQuitReason:(unsigned)reason;
- (NSAppleEventDescriptor *)currentAppleEvent;
@end
