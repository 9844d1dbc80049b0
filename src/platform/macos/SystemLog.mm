#include "platform/SystemLog.h"

#include "platform/DebugLog.h"
#include "platform/macos/CFValue.h"
#include "platform/testing.h"

#import <Foundation/Foundation.h>

#include <syslog.h>

#include <string>

namespace kestrav::platform {

void writeSystemLog(std::string_view message) {
    writeSystemLog(message, message);
}

void writeSystemLog(std::string_view message, std::string_view onStandardError) {
    if (logIsSilent()) {
        return;
    }
    if (const auto &replacement = testing::replacements().logSink) {
        replacement(message);
        return;
    }
    NSAutoreleasePool *pool = [[NSAutoreleasePool alloc] init]; // the calling thread may have no pool
    NSLog(@"%@", (NSString *)cfText(onStandardError).get());
    if (message != onStandardError) {
        // NSLog writes to both; this function writes to the log alone.
        syslog(LOG_NOTICE, "%s", std::string(message).c_str());
    }
    [pool drain];
}

} // namespace kestrav::platform
