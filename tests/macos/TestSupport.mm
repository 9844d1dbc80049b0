#include "platform/Signals.h"
#include "platform/support/DownloadSupport.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#import <Foundation/Foundation.h>

/// Replaces the product's function, without pausing.
@interface DownloadReceiver : NSObject
@end
@implementation DownloadReceiver (WithoutPauses)
- (void)performSelector:(SEL)selector withObject:(id)argument afterDelay:(NSTimeInterval)delay {
    [super performSelector:selector withObject:argument afterDelay:0];
}
@end

namespace kestrav::tests {
namespace {

/// A separate home for the user's defaults, and the pool that Foundation needs.
class Environment : public ::testing::Environment {
    void SetUp() override {
        setenv("HOME", home_.path().c_str(), 1);
        pool_ = [[NSAutoreleasePool alloc] init];
    }
    void TearDown() override { [pool_ drain]; }

    const TemporaryDirectory home_;
    NSAutoreleasePool *pool_ = nil;
};
const auto *const environment = ::testing::AddGlobalTestEnvironment(new Environment);

} // namespace

void prepareDownloads() {
    platform::Signals::ignoreWriteSignals();
    unsetenv("http_proxy");
}

void finishDownloads(int /*others*/) {} // nothing keeps running once a connection has ended or is cancelled

void runMainLoop(bool wait) {
    NSAutoreleasePool *pool = [[NSAutoreleasePool alloc] init];
    NSDate *end = [NSDate dateWithTimeIntervalSinceNow:wait ? 0.05 : 0];
    [[NSRunLoop currentRunLoop] runMode:NSDefaultRunLoopMode beforeDate:end];
    [pool drain];
}

} // namespace kestrav::tests
