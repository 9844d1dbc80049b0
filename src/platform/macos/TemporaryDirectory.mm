#include "platform/FileManager.h"

#include "platform/Bundle.h"
#include "platform/ProcessInfo.h"
#include "platform/macos/CFValue.h"
#include "platform/path.h"

#import <Foundation/Foundation.h>

namespace kestrav::platform {

std::vector<std::string> temporaryDirectories() {
    NSAutoreleasePool *pool = [[NSAutoreleasePool alloc] init]; // the calling thread may have no pool
    std::string path = textOf((CFStringRef)NSTemporaryDirectory());
    [pool drain];
    return {path, cacheDirectory(), systemPath("/var/tmp")};
}

std::vector<std::string> cacheDirectories() {
    const std::string caches = appendingPathComponent(homeDirectory(), "Library/Caches");
    std::vector<std::string> directories = contentsOfDirectoryAtPath(caches).value_or(std::vector<std::string>());
    for (std::string &directory : directories) {
        directory = appendingPathComponent(caches, directory);
    }
    return directories;
}

std::string cacheDirectory() {
    const auto identifier = Bundle::mainBundle().bundleIdentifier();
    const std::string name =
        identifier && !identifier->empty() ? *identifier : ProcessInfo::processInfo().processName();
    return appendingPathComponent(appendingPathComponent(homeDirectory(), "Library/Caches"), name);
}

std::string failureLogFile(const std::string &application) {
    const std::string logs = appendingPathComponent(homeDirectory(), "Library/Logs");
    return appendingPathComponent(appendingPathComponent(logs, application), "launcher.log");
}

} // namespace kestrav::platform
