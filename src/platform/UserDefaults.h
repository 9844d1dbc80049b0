#pragma once

#include "platform/PropertyList.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kestrav::platform {

/// The user's defaults: the application's own domain, then added suites in their order, then the global domain. One
/// thread at a time. On Linux a domain is the property list DOMAIN.plist in $XDG_CONFIG_HOME/kestrav (or
/// ~/.config/kestrav); the own domain is the bundle identifier (or `CFBundleName`, or the executable's name), the
/// global one .GlobalPreferences.
class UserDefaults {
public:
    /// The process's defaults. Lives until the process ends.
    [[nodiscard]] static UserDefaults &standardUserDefaults();

    /// Adds a suite to the search list (once).
    void addSuiteNamed(std::string_view suite);

    /// The first value found along the search list, empty if there is none.
    [[nodiscard]] std::optional<PropertyList> objectForKey(std::string_view key) const;

    /// The value if it is a string, empty otherwise.
    [[nodiscard]] std::optional<std::string> stringForKey(std::string_view key) const;

    /// The value if it is a dictionary, empty otherwise.
    [[nodiscard]] std::optional<PropertyList> dictionaryForKey(std::string_view key) const;

    /// Sets a value in the application's own domain. Nothing is written if the value is there already, or to a file
    /// that is damaged or read-only, or whose other values would be harmed; a failure is logged only where the platform
    /// does so itself.
    void setObject(const PropertyList &value, std::string_view key);

private:
    std::vector<std::string> suites_;
};

} // namespace kestrav::platform
