#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace kestrav::platform {

/// A property-list value: what an Info.plist, the user defaults or a string table consists of. A plain value type;
/// strings are UTF-8.
class PropertyList {
public:
    using Array = std::vector<PropertyList>;
    using Dictionary = std::map<std::string, PropertyList, std::less<>>;
    struct Data {
        std::vector<std::uint8_t> bytes;
        bool operator==(const Data &) const = default;
    };
    /// Seconds since 2001-01-01 00:00:00 UTC, as property lists count.
    struct Date {
        double secondsSinceReference = 0;
        bool operator==(const Date &) const = default;
    };

    /// An empty dictionary.
    PropertyList() : value_(Dictionary{}) {}
    // NOLINTBEGIN(google-explicit-constructor): a value is written as it is
    PropertyList(bool value) : value_(value) {}
    PropertyList(int value) : value_(static_cast<std::int64_t>(value)) {}
    PropertyList(std::int64_t value) : value_(value) {}
    PropertyList(double value) : value_(value) {}
    PropertyList(const char *value) : value_(std::string(value)) {}
    PropertyList(std::string value) : value_(std::move(value)) {}
    PropertyList(Data value) : value_(std::move(value)) {}
    PropertyList(Date value) : value_(value) {}
    PropertyList(Array value) : value_(std::move(value)) {}
    PropertyList(Dictionary value) : value_(std::move(value)) {}
    // NOLINTEND(google-explicit-constructor)

    /// Reads an XML (UTF-8 or UTF-16) or binary property list. Empty when the bytes are neither, or are damaged.
    [[nodiscard]] static std::optional<PropertyList> parse(std::string_view bytes);

    /// Where the bytes that `parse` refused are damaged: "line 12"; empty for a binary list.
    [[nodiscard]] static std::string damage(std::string_view bytes);

    /// The value as an XML property list.
    [[nodiscard]] std::string serialize() const;

    /// The value as the platform prints it in logs: "(\n    a,\n    \"-b\"\n)".
    [[nodiscard]] std::string description() const;

    /// "a string", "an array", …: for messages about a value of the wrong type.
    [[nodiscard]] std::string_view typeName() const;

    /// The value if it has that type, else null. The pointer lives as long as this object is unchanged.
    template <class T> [[nodiscard]] const T *as() const { return std::get_if<T>(&value_); }
    template <class T> [[nodiscard]] T *as() { return std::get_if<T>(&value_); }

    /// The entry of a dictionary; null if this is not a dictionary or has no such key.
    [[nodiscard]] const PropertyList *find(std::string_view key) const;

    /// The entry of a dictionary if it is a string; empty otherwise.
    [[nodiscard]] std::optional<std::string> stringForKey(std::string_view key) const;

    bool operator==(const PropertyList &) const = default;

private:
    std::variant<bool, std::int64_t, double, std::string, Data, Date, Array, Dictionary> value_;
};

/// The list of strings as the platform prints an array of strings.
[[nodiscard]] std::string description(const std::vector<std::string> &strings);

} // namespace kestrav::platform
