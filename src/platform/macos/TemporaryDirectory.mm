#include "platform/FileManager.h"

#include "platform/macos/CFText.h"

#import <Foundation/Foundation.h>

namespace kestrav::platform {

std::optional<std::string> temporaryDirectory() {
    NSAutoreleasePool *pool = [[NSAutoreleasePool alloc] init]; // any thread: it may have none
    std::string path = textOf((CFStringRef)NSTemporaryDirectory());
    [pool drain];
    while (path.size() > 1 && path.ends_with('/')) {
        path.pop_back();
    }
    if (!FileManager().directoryExistsAtPath(path)) {
        return std::nullopt;
    }
    return path;
}

} // namespace kestrav::platform
