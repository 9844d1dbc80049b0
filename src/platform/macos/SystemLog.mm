#include "platform/SystemLog.h"

#include "platform/macos/CFText.h"
#include "platform/posix/NeverDestroyed.h"
#include "platform/testing.h"

#import <Foundation/Foundation.h>

#include <syslog.h>

#include <functional>
#include <string>

namespace kestrav::platform {

namespace {

std::function<void(std::string_view)> &sinkReplacement() {
    static NeverDestroyed<std::function<void(std::string_view)>> replacement;
    return replacement.get();
}

} // namespace

void testing::setLogSink(std::function<void(std::string_view)> sink) {
    sinkReplacement() = std::move(sink);
}

void writeSystemLog(std::string_view message) {
    writeSystemLog(message, message);
}

void writeSystemLog(std::string_view message, std::string_view onStandardError) {
    if (const auto &replacement = sinkReplacement()) {
        replacement(message);
        return;
    }
    NSAutoreleasePool *pool = [[NSAutoreleasePool alloc] init]; // any thread: it may have none
    NSLog(@"%@", (NSString *)cfText(onStandardError).get());
    if (message != onStandardError) {
        // NSLog writes to both; this to the log alone.
        syslog(LOG_NOTICE, "%s", std::string(message).c_str());
    }
    [pool drain];
}

} // namespace kestrav::platform
