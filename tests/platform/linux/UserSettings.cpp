#include "platform/support/UserSettings.h"

#include "platform/testing.h"
#include "platform/text.h"
#include "support/TemporaryDirectory.h"

namespace kestrav::tests {

namespace {

constexpr const char *ownDomain = "org.example.application";

const TemporaryDirectory &configuration() {
    static const TemporaryDirectory directory;
    return directory;
}

} // namespace

void setPreferredLanguages(const std::vector<std::string> &languages) {
    platform::testing::setEnvironment({{"LANGUAGE", platform::joined(languages, ":")}, {"LANG", languages.front()}});
}

void setDefaults(DefaultsDomain domain, const platform::PropertyList &values) {
    platform::testing::setEnvironment({{"XDG_CONFIG_HOME", configuration().path()}});
    const platform::PropertyList information(
        platform::PropertyList::Dictionary{{"CFBundleIdentifier", std::string(ownDomain)}});
    configuration().write("Application.app/Contents/Info.plist", information.serialize());
    platform::testing::setMainBundle(configuration() / "Application.app");
    const std::string name = domain == DefaultsDomain::own     ? ownDomain
                             : domain == DefaultsDomain::suite ? suiteName
                                                               : ".GlobalPreferences";
    configuration().write("kestrav/" + name + ".plist", values.serialize());
}

} // namespace kestrav::tests
