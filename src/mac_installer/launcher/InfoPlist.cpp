#include "mac_installer/launcher/InfoPlist.h"

#include "platform/Bundle.h"
#include "platform/Exception.h"
#include "platform/FileManager.h"
#include "platform/SHA256.h"
#include "platform/format.h"
#include "platform/path.h"
#include "platform/text.h"

namespace kestrav {

using platform::PropertyList;

namespace {

[[noreturn]] void raiseWrongType(std::string_view key, const PropertyList &value, std::string_view expected) {
    throw platform::Exception(platform::InvalidArgumentException,
                              platform::format("\"%@\" in Info.plist is %@, not %@", key, value.typeName(), expected));
}

/// The entry as a T, null if it is missing.
template <class T>
const T *typedValue(const PropertyList &dictionary, std::string_view key, std::string_view expected) {
    const PropertyList *value = dictionary.find(key);
    if (value == nullptr) {
        return nullptr;
    }
    const T *typed = value->as<T>();
    if (typed == nullptr) {
        raiseWrongType(key, *value, expected);
    }
    return typed;
}

/// Raises if Info.plist is there and cannot be read: without this a start would end over some key that it has.
void requireWholeFile(const platform::Bundle &bundle) {
    const std::string path = platform::appendingPathComponent(bundle.bundlePath(), "Contents/Info.plist");
    if (!platform::fileExistsAtPath(path)) {
        return;
    }
    const auto content = platform::contentsOfFile(path);
    const auto list = content ? PropertyList::parse(*content) : std::nullopt;
    if (list && list->as<PropertyList::Dictionary>() != nullptr) {
        return;
    }
    std::string reason = "Info.plist cannot be read";
    if (list) {
        reason = platform::format("Info.plist is %@, not a dictionary", list->typeName());
    } else if (content) {
        const std::string place = PropertyList::damage(*content);
        reason = "Info.plist is damaged" + (place.empty() ? place : ": " + place);
    }
    throw platform::Exception(platform::InvalidArgumentException, reason);
}

} // namespace

std::optional<std::string> stringValue(const PropertyList &dictionary, std::string_view key) {
    const auto *text = typedValue<std::string>(dictionary, key, "a string");
    return text == nullptr ? std::nullopt : std::optional(*text);
}

const PropertyList::Array *arrayValue(const PropertyList &dictionary, std::string_view key) {
    return typedValue<PropertyList::Array>(dictionary, key, "an array");
}

std::string stringEntry(const PropertyList &entry, std::string_view key) {
    const auto *text = entry.as<std::string>();
    if (text == nullptr) {
        raiseWrongType(platform::format("an entry of %@", key), entry, "a string");
    }
    return *text;
}

std::vector<std::string> stringsOf(const PropertyList &array, std::string_view key) {
    const auto *entries = array.as<PropertyList::Array>();
    if (entries == nullptr) {
        raiseWrongType(key, array, "an array");
    }
    std::vector<std::string> strings;
    strings.reserve(entries->size());
    for (const PropertyList &entry : *entries) {
        strings.push_back(stringEntry(entry, key));
    }
    return strings;
}

std::optional<std::vector<std::string>> stringArrayValue(const PropertyList &dictionary, std::string_view key) {
    const PropertyList *value = dictionary.find(key);
    return value == nullptr ? std::nullopt : std::optional(stringsOf(*value, key));
}

std::optional<bool> booleanValue(const PropertyList &dictionary, std::string_view key) {
    const PropertyList *value = dictionary.find(key);
    if (value == nullptr) {
        return std::nullopt;
    }
    if (const auto *boolean = value->as<bool>()) {
        return *boolean;
    }
    if (const auto *integer = value->as<std::int64_t>()) {
        return *integer != 0;
    }
    if (const auto *real = value->as<double>()) {
        return *real != 0;
    }
    if (const auto *text = value->as<std::string>()) {
        return platform::boolValue(*text);
    }
    raiseWrongType(key, *value, "a boolean");
}

std::optional<std::int64_t> integerValue(const PropertyList &dictionary, std::string_view key) {
    const PropertyList *value = dictionary.find(key);
    if (value == nullptr) {
        return std::nullopt;
    }
    if (const auto *integer = value->as<std::int64_t>()) {
        return *integer;
    }
    if (const auto *real = value->as<double>()) {
        constexpr double limit = 9e18; // within the range of the integer
        return *real >= -limit && *real <= limit ? static_cast<std::int64_t>(*real) : 0;
    }
    if (const auto *text = value->as<std::string>()) {
        return platform::longLongValue(*text);
    }
    raiseWrongType(key, *value, "a number");
}

std::optional<std::string> digestValue(const PropertyList &dictionary) {
    constexpr const char *key = "ksv.jreSha256";
    auto digest = stringValue(dictionary, key);
    if (digest) {
        *digest = platform::normalizedSHA256(*digest);
        if (digest->empty()) {
            throw platform::Exception(
                platform::InvalidArgumentException,
                platform::format("\"%@\" in Info.plist is not a SHA-256, which has 64 hexadecimal digits", key));
        }
    }
    return digest;
}

std::optional<std::string> runtimeCacheValue(const PropertyList &dictionary) {
    constexpr const char *key = "ksv.runtimeCache";
    auto path = stringValue(dictionary, key);
    const auto begins = [&](std::string_view start) {
        return (*path + "/").starts_with(start) && path->find('\0') == std::string::npos;
    };
    if (path && !begins("/") && !begins("~/") && !begins("$APP_PACKAGE/")) {
        throw platform::Exception(
            platform::InvalidArgumentException,
            platform::format("\"%@\" in Info.plist is %@, which is not an absolute path", key, *path));
    }
    return path;
}

const PropertyList &infoDictionary() {
    const platform::Bundle &bundle = platform::Bundle::mainBundle();
    if (bundle.objectForInfoDictionaryKey("JavaVM") == nullptr) { // every whole one has it
        requireWholeFile(bundle);
    }
    return bundle.infoDictionary();
}

const PropertyList &javaVMDictionary() {
    static const PropertyList none;
    const PropertyList *dictionary = infoDictionary().find("JavaVM");
    if (dictionary == nullptr) {
        return none;
    }
    if (dictionary->as<PropertyList::Dictionary>() == nullptr) {
        raiseWrongType("JavaVM", *dictionary, "a dictionary");
    }
    return *dictionary;
}

std::optional<std::string> bundleName() {
    const auto name = platform::Bundle::mainBundle().infoDictionary().stringForKey("CFBundleName");
    return name ? std::optional(platform::escapingControlCharacters(*name)) : std::nullopt;
}

std::string applicationName() {
    constexpr std::string_view suffix = ".app";
    std::string name = bundleName().value_or("");
    if (name.empty()) {
        name = platform::escapingControlCharacters(
            platform::lastPathComponent(platform::Bundle::mainBundle().bundlePath()));
        name.resize(name.size() - (name.ends_with(suffix) ? suffix.size() : 0));
    }
    return name;
}

std::string replacingAppPackage(std::string_view text, std::string_view bundlePath) {
    return platform::replacingOccurrences(text, "$APP_PACKAGE", bundlePath);
}

} // namespace kestrav
