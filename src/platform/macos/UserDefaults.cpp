#include "platform/UserDefaults.h"

#include "platform/macos/CFValue.h"

#include <algorithm>

namespace kestrav::platform {

void UserDefaults::addSuiteNamed(std::string_view suite) {
    if (std::find(suites_.begin(), suites_.end(), suite) == suites_.end()) {
        suites_.emplace_back(suite);
        CFPreferencesAddSuitePreferencesToApp(kCFPreferencesCurrentApplication, cfText(suite).get());
    }
}

std::optional<PropertyList> UserDefaults::objectForKey(std::string_view key) const {
    const CFHandle<CFPropertyListRef> value(
        CFPreferencesCopyAppValue(cfText(key).get(), kCFPreferencesCurrentApplication));
    return propertyListOf(value.get());
}

void UserDefaults::setObject(const PropertyList &value, std::string_view key) { // NOLINT(*-make-member-function-const)
    CFPreferencesSetAppValue(cfText(key).get(), cfValue(value).get(), kCFPreferencesCurrentApplication);
    // The platform's service logs what it cannot write; a lost default does not stop the run.
    static_cast<void>(CFPreferencesAppSynchronize(kCFPreferencesCurrentApplication));
}

} // namespace kestrav::platform
