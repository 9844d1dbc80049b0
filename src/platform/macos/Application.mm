#include "platform/Application.h"

#include "platform/Bundle.h"
#include "platform/SystemLog.h"

#import "platform/macos/AppDelegate.h"

namespace kestrav::platform {

int Application::main(int argc, char **argv, ApplicationDelegate &delegate) {
    NSAutoreleasePool *pool = [[NSAutoreleasePool alloc] init];
    const bool hasInterface = Bundle::mainBundle().objectForInfoDictionaryKey("NSMainNibFile") != nullptr;
    [AppDelegate setProgram:&delegate];
    [pool drain];
    if (!hasInterface) {
        Log("Info.plist names no NSMainNibFile"); // otherwise nothing would ever happen
        return 1;
    }
    return NSApplicationMain(argc, const_cast<const char **>(argv));
}

void Application::activateIgnoringOtherApps() {
    [NSApp activateIgnoringOtherApps:YES];
}

} // namespace kestrav::platform
