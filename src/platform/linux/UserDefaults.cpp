#include "platform/UserDefaults.h"

#include "platform/Bundle.h"
#include "platform/FileManager.h"
#include "platform/ProcessInfo.h"
#include "platform/linux/PropertyListNode.h"
#include "platform/path.h"

#include <plist/plist.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <memory>

namespace kestrav::platform {

namespace {

/// The name of the application's own domain.
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

std::string configurationDirectory() {
    // A relative path in the variable is ignored.
    const auto directory = ProcessInfo::processInfo().environmentVariable("XDG_CONFIG_HOME");
    const bool usable = directory && directory->starts_with('/');
    return appendingPathComponent(usable ? *directory : appendingPathComponent(homeDirectory(), ".config"), "kestrav");
}

/// The path of a domain's property list, whether it exists or not; empty for a name that cannot be a file name.
std::optional<std::string> defaultsFile(const std::string &domain) {
    if (domain.empty() || domain.find('/') != std::string::npos) {
        return std::nullopt;
    }
    return appendingPathComponent(configurationDirectory(), domain + ".plist");
}

std::optional<PropertyList> valueInDomain(const std::string &domain, std::string_view key) {
    const auto path = defaultsFile(domain);
    const auto content = path ? contentsOfFile(*path) : std::nullopt;
    const auto list = content ? PropertyList::parse(*content) : std::nullopt;
    const PropertyList *value = list ? list->find(key) : nullptr;
    return value != nullptr ? std::optional(*value) : std::nullopt;
}

/// A property list with `value` under `key`, otherwise as it was. It keeps its form, XML or binary, and is changed as
/// the library's own values, so that nothing unknown to `PropertyList` is lost. Empty if it is not a dictionary.
std::optional<std::string> settingValue(std::string_view content, const PropertyList &value, std::string_view key) {
    const Node root = nodeOf(content);
    if (!root || plist_get_node_type(root.get()) != PLIST_DICT) {
        return std::nullopt;
    }
    plist_dict_set_item(root.get(), std::string(key).c_str(), nodeOf(value.serialize()).release());
    char *bytes = nullptr;
    std::uint32_t size = 0;
    (content.starts_with("bplist") ? plist_to_bin : plist_to_xml)(root.get(), &bytes, &size);
    const std::unique_ptr<char, decltype(&std::free)> owner(bytes, &std::free);
    return bytes != nullptr ? std::optional(std::string(bytes, size)) : std::nullopt;
}

/// True if the bytes read as `list` with `value` under `key`. The check is needed because the library cuts off
/// malformed strings.
bool isWhole(std::string_view bytes, PropertyList list, const PropertyList &value, std::string_view key) {
    auto *dictionary = list.as<PropertyList::Dictionary>();
    const auto found = PropertyList::parse(bytes);
    if (dictionary == nullptr || !found) {
        return false;
    }
    dictionary->insert_or_assign(std::string(key), value);
    return found->serialize() == list.serialize(); // compared as XML, where NaN equals itself
}

/// A file that its owner has made read-only stays as it is, although it could be replaced by a new file.
bool mayBeWritten(const std::string &path) {
    struct stat found {};
    constexpr mode_t anyWrite = S_IWUSR | S_IWGRP | S_IWOTH;
    return ::stat(path.c_str(), &found) != 0 || (found.st_mode & anyWrite) != 0;
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

void UserDefaults::setObject(const PropertyList &value, std::string_view key) { // NOLINT(*-make-member-function-const)
    const auto path = defaultsFile(ownDefaultsDomain());
    if (!path) {
        return;
    }
    auto content = contentsOfFile(*path);
    if (!content && !fileExistsAtPath(*path)) {
        content = PropertyList().serialize(); // a new one
    }
    const auto list = content ? PropertyList::parse(*content) : std::nullopt;
    if (!list) {
        return; // damaged: left alone, so that its content can still be rescued by hand
    }
    const PropertyList *present = list->find(key);
    if ((present != nullptr && *present == value) || !mayBeWritten(*path)) {
        return;
    }
    const auto changed = settingValue(*content, value, key);
    if (changed && isWhole(*changed, *list, value, key)) {
        // A default that cannot be stored is not a reason to stop.
        static_cast<void>(writeFileAtomically(*path, *changed));
    }
}

} // namespace kestrav::platform
