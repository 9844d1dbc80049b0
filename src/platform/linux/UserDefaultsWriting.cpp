#include "platform/UserDefaults.h"

#include "platform/FileManager.h"
#include "platform/linux/PropertyListNode.h"
#include "platform/linux/UserDefaultsDomain.h"

#include <plist/plist.h>
#include <sys/stat.h>

#include <cstdint>
#include <cstdlib>
#include <memory>

namespace kestrav::platform {

namespace {

/// A property list with `value` under `key`, otherwise as it was. It keeps its form, XML or binary, and goes through
/// the library's own values, so that nothing is lost that `PropertyList` does not know. Empty if it is no dictionary.
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

/// True if the bytes read as `list` with `value` under `key`. The library cuts texts off that are not as they should
/// be.
bool isWhole(std::string_view bytes, PropertyList list, const PropertyList &value, std::string_view key) {
    auto *dictionary = list.as<PropertyList::Dictionary>();
    const auto found = PropertyList::parse(bytes);
    if (dictionary == nullptr || !found) {
        return false;
    }
    dictionary->insert_or_assign(std::string(key), value);
    return found->serialize() == list.serialize(); // as texts, in which a number that is none equals itself
}

/// A file that its owner has made read-only stays as it is, although a new one could take its place.
bool mayBeWritten(const std::string &path) {
    struct stat found {};
    constexpr mode_t anyWrite = S_IWUSR | S_IWGRP | S_IWOTH;
    return ::stat(path.c_str(), &found) != 0 || (found.st_mode & anyWrite) != 0;
}

} // namespace

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
        return; // damaged: what it was meant to hold can still be rescued by hand
    }
    const PropertyList *present = list->find(key);
    if ((present != nullptr && *present == value) || !mayBeWritten(*path)) {
        return;
    }
    const auto changed = settingValue(*content, value, key);
    if (changed && isWhole(*changed, *list, value, key)) {
        // A default that cannot be kept is no reason to stop.
        static_cast<void>(writeFileAtomically(*path, *changed));
    }
}

} // namespace kestrav::platform
