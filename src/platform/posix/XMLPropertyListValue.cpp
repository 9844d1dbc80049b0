#include "platform/posix/XMLPropertyListValue.h"

#include "platform/text.h"

#include <charconv>
#include <chrono>
#include <cstdio>
#include <limits>
#include <locale>
#include <sstream>
#include <system_error>

namespace kestrav::platform {

namespace {

/// A decimal number, or a hexadecimal one after "0x"; clamped to the type's range.
std::int64_t integerOf(std::string_view text) {
    text = trimmingWhitespaceAndNewlines(text);
    const bool negative = text.starts_with('-');
    text.remove_prefix(negative || text.starts_with('+') ? 1 : 0);
    const bool hexadecimal = text.starts_with("0x") || text.starts_with("0X");
    text.remove_prefix(hexadecimal ? 2 : 0);
    constexpr auto largest = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    std::uint64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, hexadecimal ? 16 : 10);
    if (error == std::errc::result_out_of_range || value > largest) {
        return negative ? std::numeric_limits<std::int64_t>::min() : std::numeric_limits<std::int64_t>::max();
    }
    return negative ? -static_cast<std::int64_t>(value) : static_cast<std::int64_t>(value);
}

/// Does not depend on the user's locale, which a window toolkit may set for the whole process.
double realOf(std::string_view text) {
    text = trimmingWhitespaceAndNewlines(text);
    const bool negative = text.starts_with('-');
    std::string_view magnitude = text;
    magnitude.remove_prefix(negative || text.starts_with('+') ? 1 : 0);
    if (magnitude.starts_with("inf")) {
        constexpr double infinity = std::numeric_limits<double>::infinity();
        return negative ? -infinity : infinity;
    }
    if (magnitude.starts_with("nan")) {
        return std::numeric_limits<double>::quiet_NaN();
    }
    std::istringstream stream{std::string(text)};
    stream.imbue(std::locale::classic());
    double value = 0;
    stream >> value;
    return value;
}

/// "2001-01-02T03:04:05Z".
PropertyList::Date dateOf(const std::string &text) {
    using std::chrono::sys_days;
    int year = 0;
    unsigned month = 0;
    unsigned day = 0;
    int hours = 0;
    int minutes = 0;
    int seconds = 0;
    if (std::sscanf(text.c_str(), " %5d-%2u-%2uT%2d:%2d:%2dZ", &year, &month, &day, &hours, &minutes, &seconds) != 6) {
        return {};
    }
    const auto date = std::chrono::year(year) / std::chrono::month(month) / std::chrono::day(day);
    if (!date.ok()) {
        return {};
    }
    const std::chrono::days sinceReference = sys_days(date) - sys_days(std::chrono::year(2001) / 1 / 1);
    constexpr double secondsPerDay = 86400;
    return {static_cast<double>(sinceReference.count()) * secondsPerDay + hours * 3600 + minutes * 60 + seconds};
}

/// Decodes base 64; other characters are skipped.
PropertyList::Data dataOf(std::string_view text) {
    constexpr std::string_view digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    PropertyList::Data data;
    unsigned bits = 0;
    unsigned bitCount = 0;
    for (const char character : text.substr(0, text.find('='))) {
        const auto digit = digits.find(character);
        if (digit == std::string_view::npos) {
            continue;
        }
        bits = (bits << 6U) | static_cast<unsigned>(digit);
        bitCount += 6;
        if (bitCount >= 8) {
            bitCount -= 8;
            data.bytes.push_back(static_cast<std::uint8_t>(bits >> bitCount));
            bits &= (1U << bitCount) - 1;
        }
    }
    return data;
}

} // namespace

PropertyList valueOfElement(std::string_view name, std::string text) {
    if (name == "true" || name == "false") {
        return name == "true";
    }
    if (name == "integer") {
        return integerOf(text);
    }
    if (name == "real") {
        return realOf(text);
    }
    if (name == "date") {
        return dateOf(text);
    }
    if (name == "data") {
        return dataOf(text);
    }
    return text;
}

std::optional<char32_t> characterOfEntity(std::string_view name) {
    static constexpr std::pair<std::string_view, char32_t> known[] = {
        {"amp", '&'}, {"lt", '<'}, {"gt", '>'}, {"quot", '"'}, {"apos", '\''}};
    for (const auto &[entity, character] : known) {
        if (name == entity) {
            return character;
        }
    }
    if (!name.starts_with('#')) {
        return std::nullopt;
    }
    const bool hexadecimal = name.starts_with("#x");
    const char *const end = name.data() + name.size();
    std::uint32_t value = 0;
    const auto [rest, error] = std::from_chars(name.data() + (hexadecimal ? 2 : 1), end, value, hexadecimal ? 16 : 10);
    const bool isCharacter = value != 0 && value <= 0x10FFFF && (value < 0xD800 || value > 0xDFFF);
    return error == std::errc() && rest == end && isCharacter ? std::optional<char32_t>(value) : std::nullopt;
}

} // namespace kestrav::platform
