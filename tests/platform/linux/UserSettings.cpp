#include "platform/support/UserSettings.h"

#include "platform/testing.h"
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
    std::string list;
    for (const std::string &language : languages) {
        list += language + ":";
    }
    platform::testing::setEnvironment({{"LANGUAGE", list}, {"LANG", languages.front()}});
}

void setDefaults(DefaultsDomain domain, const platform::PropertyList &values) {
    platform::testing::setEnvironment({{"XDG_CONFIG_HOME", configuration().path()}});
    const platform::PropertyList information(
        platform::PropertyList::Dictionary{{"CFBundleIdentifier", std::string(ownDomain)}});
    configuration().write("Application.app/Contents/Info.plist", information.serialize());
    platform::testing::replacements().mainBundle = platform::Bundle::create(configuration() / "Application.app");
    const std::string name = domain == DefaultsDomain::own     ? ownDomain
                             : domain == DefaultsDomain::suite ? suiteName
                                                               : ".GlobalPreferences";
    configuration().write("kestrav/" + name + ".plist", values.serialize());
}

} // namespace kestrav::tests
