#pragma once

#include "platform/PropertyList.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace kestrav::platform {

/// One argument of a format. Refers to what it was made from, so it lives no longer than the call; nothing is
/// turned into text before the format asks for it.
class FormatArgument {
public:
    // NOLINTBEGIN(google-explicit-constructor): an argument is written as it is
    FormatArgument(std::nullopt_t) : value_(std::monostate{}) {}
    FormatArgument(std::nullptr_t) : value_(std::monostate{}) {}
    FormatArgument(std::string_view text) : value_(text) {}
    FormatArgument(const std::string &text) : value_(std::string_view(text)) {}
    /// A null pointer prints as the platform's nil.
    FormatArgument(const char *text) : value_(text != nullptr ? Value(std::string_view(text)) : Value()) {}
    FormatArgument(const std::optional<std::string> &text) : value_(text ? Value(std::string_view(*text)) : Value()) {}
    FormatArgument(bool number) : value_(static_cast<std::int64_t>(number)) {}
    FormatArgument(int number) : value_(static_cast<std::int64_t>(number)) {}
    FormatArgument(long number) : value_(static_cast<std::int64_t>(number)) {}
    FormatArgument(long long number) : value_(static_cast<std::int64_t>(number)) {}
    FormatArgument(unsigned number) : value_(static_cast<std::uint64_t>(number)) {}
    FormatArgument(unsigned long number) : value_(static_cast<std::uint64_t>(number)) {}
    FormatArgument(unsigned long long number) : value_(static_cast<std::uint64_t>(number)) {}
    FormatArgument(double number) : value_(number) {}
    FormatArgument(const void *address) : value_(address) {}
    FormatArgument(const PropertyList &list) : value_(&list) {}
    /// A null pointer prints as the platform's nil.
    FormatArgument(const PropertyList *list) : value_(list != nullptr ? Value(list) : Value()) {}
    FormatArgument(const std::vector<std::string> &strings) : value_(&strings) {}
    // NOLINTEND(google-explicit-constructor)

    using Value = std::variant<std::monostate, std::string_view, std::int64_t, std::uint64_t, double, const void *,
                               const PropertyList *, const std::vector<std::string> *>;
    [[nodiscard]] const Value &value() const { return value_; }

private:
    Value value_;
};

/// Fills in a format in the platform's notation: "%@" and "%s" take any argument as text, "%d", "%u", "%x", "%f", "%p"
/// with flags, width, precision and length modifiers, positions ("%2$@") and "%%". A missing argument prints as
/// "(null)" or 0; an argument of another kind than its placeholder is converted, never misread.
[[nodiscard]] std::string formatArguments(std::string_view format, std::span<const FormatArgument> arguments);

/// `formatArguments` with the arguments in line.
template <class... Arguments> [[nodiscard]] std::string format(std::string_view text, const Arguments &...arguments) {
    if constexpr (sizeof...(Arguments) == 0) {
        return formatArguments(text, {});
    } else {
        const FormatArgument list[] = {FormatArgument(arguments)...};
        return formatArguments(text, list);
    }
}

} // namespace kestrav::platform
