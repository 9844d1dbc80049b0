#include "platform/support/DownloadSupport.h"

#include "platform/Signals.h"

#include <cstdlib>

#import <Foundation/Foundation.h>

namespace kestrav::tests {

void prepareDownloads() {
    platform::Signals::ignoreWriteSignals();
    unsetenv("http_proxy");
}

void finishDownloads(int /*others*/) {
    // A connection that is over or cancelled leaves nothing that works on.
}

void runMainLoop() {
    NSAutoreleasePool *pool = [[NSAutoreleasePool alloc] init];
    [[NSRunLoop currentRunLoop] runMode:NSDefaultRunLoopMode beforeDate:[NSDate dateWithTimeIntervalSinceNow:0.05]];
    [pool drain];
}

} // namespace kestrav::tests
