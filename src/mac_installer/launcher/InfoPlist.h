#pragma once

#include "platform/PropertyList.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// Typed access to the application's configuration. A key that is missing is ordinary; one of the wrong type is a
// mistake of the bundle's maker and raises an exception that names it.

namespace kestrav {

/// The string under `key`, empty if there is none.
[[nodiscard]] std::optional<std::string> stringValue(const platform::PropertyList &dictionary, std::string_view key);

/// The strings of the array under `key`, empty if there is none.
[[nodiscard]] std::optional<std::vector<std::string>> stringArrayValue(const platform::PropertyList &dictionary,
                                                                       std::string_view key);

/// The array under `key`, null if there is none. Lives as long as the dictionary.
[[nodiscard]] const platform::PropertyList::Array *arrayValue(const platform::PropertyList &dictionary,
                                                              std::string_view key);

/// A boolean, a number, or a string read as a boolean; empty if there is none.
[[nodiscard]] std::optional<bool> booleanValue(const platform::PropertyList &dictionary, std::string_view key);

/// A number (a string is read as one), rounded toward zero; empty if there is none.
[[nodiscard]] std::optional<std::int64_t> integerValue(const platform::PropertyList &dictionary, std::string_view key);

/// The SHA-256 under "ksv.jreSha256" in lower case, empty if there is none; raises for anything else.
[[nodiscard]] std::optional<std::string> digestValue(const platform::PropertyList &dictionary);

/// The folder under "ksv.runtimeCache", empty if there is none; raises if it begins neither with "/" nor with "~" or
/// "$APP_PACKAGE".
[[nodiscard]] std::optional<std::string> runtimeCacheValue(const platform::PropertyList &dictionary);

/// An entry of the array under `key`; raises if it is not a string.
[[nodiscard]] std::string stringEntry(const platform::PropertyList &entry, std::string_view key);

/// The strings of the array under `key`; raises for an entry that is not a string.
[[nodiscard]] std::vector<std::string> stringsOf(const platform::PropertyList &array, std::string_view key);

/// The main bundle's information dictionary; raises if its file is damaged.
[[nodiscard]] const platform::PropertyList &infoDictionary();

/// Its `JavaVM` dictionary; an empty one if there is none.
[[nodiscard]] const platform::PropertyList &javaVMDictionary();

/// `CFBundleName`, which messages contain; empty if there is none. Never raises: error notices use it.
[[nodiscard]] std::optional<std::string> bundleName();

/// The application's name for people: `CFBundleName` or, without one, the name of the bundle's folder. Never raises.
[[nodiscard]] std::string applicationName();

/// `text` with every "$APP_PACKAGE" replaced by the application bundle's path.
[[nodiscard]] std::string replacingAppPackage(std::string_view text, std::string_view bundlePath);

} // namespace kestrav
