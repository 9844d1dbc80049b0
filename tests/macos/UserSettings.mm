#include "platform/support/UserSettings.h"

#include "CoreFoundationDouble.h"
#include "platform/macos/CFPropertyList.h"
#include "platform/macos/CFText.h"

#import <Foundation/Foundation.h>

namespace kestrav::tests {

void setPreferredLanguages(const std::vector<std::string> &languages) {
    setLanguagesOfBundles(languages);
}

void setDefaults(DefaultsDomain domain, const platform::PropertyList &values) {
    NSAutoreleasePool *pool = [[NSAutoreleasePool alloc] init];
    NSString *name = [[NSProcessInfo processInfo] processName];
    if (domain == DefaultsDomain::suite) {
        name = [NSString stringWithUTF8String:suiteName];
    } else if (domain == DefaultsDomain::global) {
        name = NSGlobalDomain;
    }
    NSUserDefaults *defaults = [NSUserDefaults standardUserDefaults];
    [defaults removePersistentDomainForName:name];
    [defaults setPersistentDomain:(NSDictionary *)platform::cfValue(values).get() forName:name];
    [pool drain];
}

} // namespace kestrav::tests
