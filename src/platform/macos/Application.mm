#include "platform/Application.h"

#include "platform/Bundle.h"
#include "platform/SystemLog.h"

#import "platform/macos/AppDelegate.h"

namespace kestrav::platform {

int Application::main(int argc, char **argv, ApplicationDelegate &delegate) {
    if (Bundle::mainBundle().objectForInfoDictionaryKey("NSMainNibFile") == nullptr) {
        Log("Info.plist names no NSMainNibFile"); // otherwise nothing would ever happen
        return 1;
    }
    [AppDelegate setProgram:&delegate];
    return NSApplicationMain(argc, const_cast<const char **>(argv));
}

void Application::activateIgnoringOtherApps() {
    [NSApp activateIgnoringOtherApps:YES];
}

} // namespace kestrav::platform
