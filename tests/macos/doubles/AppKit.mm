#import <AppKit/AppKit.h>

NSString *NSWorkspaceDidActivateApplicationNotification = @"NSWorkspaceDidActivateApplicationNotification";

namespace {

unsigned quitReason = 0;
NSApplicationActivationPolicy policyOfOther = NSApplicationActivationPolicyProhibited;

} // namespace

@implementation NSAppleEventDescriptor (Content)
- (NSAppleEventDescriptor *)attributeDescriptorForKeyword:(unsigned)keyword {
    return keyword == 0x7768793F ? self : nil;
}
- (unsigned)typeCodeValue {
    return quitReason;
}
@end

@implementation NSAppleEventManager (Events)
+ (NSAppleEventManager *)sharedAppleEventManager {
    return [[[self alloc] init] autorelease];
}
+ (void)setQuitReason:(unsigned)reason {
    quitReason = reason;
}
- (NSAppleEventDescriptor *)currentAppleEvent {
    return [[[NSAppleEventDescriptor alloc] init] autorelease];
}
@end

@implementation NSRunningApplication (OfTests)
+ (void)setPolicyOfOther:(NSApplicationActivationPolicy)policy {
    policyOfOther = policy;
}
+ (id)runningApplicationWithProcessIdentifier:(pid_t)process {
    return [[[self alloc] init] autorelease];
}
- (NSApplicationActivationPolicy)activationPolicy {
    return policyOfOther;
}
- (BOOL)activateWithOptions:(NSApplicationActivationOptions)options {
    return YES;
}
@end

@implementation NSWorkspace (OfTests)
- (NSNotificationCenter *)notificationCenter {
    return [NSNotificationCenter defaultCenter]; // there is no service that would pass on what is posted
}
@end
