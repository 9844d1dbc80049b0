#include "platform/FileManager.h"

#include "platform/macos/CFText.h"
#include "platform/path.h"

#import <Foundation/Foundation.h>

namespace kestrav::platform {

std::optional<std::string> temporaryDirectory() {
    NSAutoreleasePool *pool = [[NSAutoreleasePool alloc] init]; // any thread: it may have none
    std::string path(withoutTrailingSlashes(textOf((CFStringRef)NSTemporaryDirectory())));
    [pool drain];
    if (!FileManager().directoryExistsAtPath(path)) {
        return std::nullopt;
    }
    return path;
}

} // namespace kestrav::platform
