#include "platform/UserDefaults.h"

#include "platform/posix/NeverDestroyed.h"

#include <utility>

namespace kestrav::platform {

UserDefaults &UserDefaults::standardUserDefaults() {
    static NeverDestroyed<UserDefaults> defaults;
    return defaults.get();
}

std::optional<std::string> UserDefaults::stringForKey(std::string_view key) const {
    const auto value = objectForKey(key);
    const auto *text = value ? value->as<std::string>() : nullptr;
    return text != nullptr ? std::optional(*text) : std::nullopt;
}

std::optional<PropertyList> UserDefaults::dictionaryForKey(std::string_view key) const {
    auto value = objectForKey(key);
    const bool isDictionary = value && value->as<PropertyList::Dictionary>() != nullptr;
    return isDictionary ? std::move(value) : std::nullopt;
}

} // namespace kestrav::platform
