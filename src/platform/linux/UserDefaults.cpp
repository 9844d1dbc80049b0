#include "platform/UserDefaults.h"

#include "platform/Bundle.h"
#include "platform/FileManager.h"
#include "platform/ProcessInfo.h"
#include "platform/linux/UserDefaultsDomain.h"
#include "platform/path.h"

#include <algorithm>

namespace kestrav::platform {

std::string ownDefaultsDomain() {
    const Bundle &bundle = Bundle::mainBundle();
    for (const char *key : {"CFBundleIdentifier", "CFBundleName"}) {
        const auto name = bundle.infoDictionary().stringForKey(key);
        if (name && !name->empty()) {
            return *name;
        }
    }
    return ProcessInfo::processInfo().processName();
}

namespace {

std::string configurationDirectory() {
    // A relative path there counts as none.
    const auto directory = ProcessInfo::processInfo().environmentVariable("XDG_CONFIG_HOME");
    const bool usable = directory && directory->starts_with('/');
    return appendingPathComponent(usable ? *directory : appendingPathComponent(homeDirectory(), ".config"), "kestrav");
}

} // namespace

std::optional<std::string> defaultsFile(const std::string &domain) {
    if (domain.empty() || domain.find('/') != std::string::npos) {
        return std::nullopt;
    }
    return appendingPathComponent(configurationDirectory(), domain + ".plist");
}

namespace {

std::optional<PropertyList> valueInDomain(const std::string &domain, std::string_view key) {
    const auto path = defaultsFile(domain);
    const auto content = path ? contentsOfFile(*path) : std::nullopt;
    const auto list = content ? PropertyList::parse(*content) : std::nullopt;
    const PropertyList *value = list ? list->find(key) : nullptr;
    return value != nullptr ? std::optional(*value) : std::nullopt;
}

} // namespace

void UserDefaults::addSuiteNamed(std::string_view suite) {
    if (std::find(suites_.begin(), suites_.end(), suite) == suites_.end()) {
        suites_.emplace_back(suite);
    }
}

std::optional<PropertyList> UserDefaults::objectForKey(std::string_view key) const {
    std::vector<std::string> domains = {ownDefaultsDomain()};
    domains.insert(domains.end(), suites_.begin(), suites_.end());
    domains.emplace_back(".GlobalPreferences");
    for (const std::string &domain : domains) {
        if (auto value = valueInDomain(domain, key)) {
            return value;
        }
    }
    return std::nullopt;
}

} // namespace kestrav::platform
