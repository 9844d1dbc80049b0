#include "platform/PropertyList.h"

#include "platform/posix/numberText.h"
#include "platform/text.h"

#include <array>
#include <cmath>
#include <cstddef>

namespace kestrav::platform {

namespace {

constexpr std::string_view hexDigits = "0123456789abcdef";

bool standsUnquoted(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
           std::string_view("_$/:.").find(c) != std::string_view::npos;
}

void appendQuoted(std::string &result, std::string_view text) {
    result += '"';
    for (const char16_t unit : utf16(text)) {
        switch (unit) {
        case u'"':
            result += "\\\"";
            break;
        case u'\\':
            result += "\\\\";
            break;
        case u'\n':
            result += "\\n";
            break;
        case u'\t':
            result += "\\t";
            break;
        case u'\r':
            result += "\\r";
            break;
        default:
            if (unit >= 0x20 && unit < 0x7F) {
                result += static_cast<char>(unit);
                break;
            }
            result += "\\U";
            for (const unsigned shift : {12U, 8U, 4U, 0U}) {
                result += hexDigits[(static_cast<unsigned>(unit) >> shift) & 0xFU];
            }
        }
    }
    result += '"';
}

/// A string as it is printed within an array or a dictionary.
void appendElement(std::string &result, std::string_view text) {
    bool plain = !text.empty();
    for (const char c : text) {
        plain = plain && standsUnquoted(c);
    }
    if (plain) {
        result += text;
    } else {
        appendQuoted(result, text);
    }
}

std::string dataText(const std::vector<std::uint8_t> &bytes) {
    constexpr std::size_t shownWhole = 24;
    std::string text = "{length = " + std::to_string(bytes.size()) + ", bytes = 0x";
    for (std::size_t index = 0; index < bytes.size(); ++index) {
        if (bytes.size() > shownWhole && index == 16) {
            text += " ... ";
            index = bytes.size() - 8;
        }
        text += hexDigits[bytes[index] >> 4U];
        text += hexDigits[bytes[index] & 0xFU];
    }
    return text + "}";
}

std::string padded(std::int64_t number, std::size_t size) {
    std::string text = std::to_string(number);
    return text.size() < size ? std::string(size - text.size(), '0') + text : text;
}

std::string dateText(double secondsSinceReference) {
    constexpr double limit = 1e13; // some 300,000 years; nobody writes dates beyond that
    if (!(std::fabs(secondsSinceReference) < limit)) {
        return shortestText(secondsSinceReference);
    }
    constexpr std::int64_t secondsPerDay = 86400;
    const auto seconds = static_cast<std::int64_t>(std::floor(secondsSinceReference));
    std::int64_t day = seconds / secondsPerDay;
    std::int64_t second = seconds % secondsPerDay;
    if (second < 0) {
        second += secondsPerDay;
        --day;
    }
    // Years are counted from March, in eras of 400 years, so that leap days fall at the end of a year.
    day += 730791; // from 0000-03-01 to 2001-01-01
    const std::int64_t era = (day >= 0 ? day : day - 146096) / 146097;
    const std::int64_t dayOfEra = day - era * 146097;
    const std::int64_t yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const std::int64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const std::int64_t shiftedMonth = (5 * dayOfYear + 2) / 153;
    const std::int64_t month = shiftedMonth < 10 ? shiftedMonth + 3 : shiftedMonth - 9;
    const std::int64_t year = yearOfEra + era * 400 + (month <= 2 ? 1 : 0);
    return padded(year, 4) + "-" + padded(month, 2) + "-" + padded(dayOfYear - (153 * shiftedMonth + 2) / 5 + 1, 2) +
           " " + padded(second / 3600, 2) + ":" + padded(second / 60 % 60, 2) + ":" + padded(second % 60, 2) + " +0000";
}

std::string indentation(std::size_t level) {
    return std::string(level * 4, ' ');
}

/// Writes values one below the other; a nested list starts with its own indentation, even after "key = ".
class Describer {
public:
    explicit Describer(std::string &result) : result_(result) {}

    void append(const PropertyList &value, std::size_t level, bool nested) {
        if (const auto *text = value.as<std::string>()) {
            appendText(*text, nested);
        } else if (const auto *boolean = value.as<bool>()) {
            result_ += *boolean ? '1' : '0';
        } else if (const auto *integer = value.as<std::int64_t>()) {
            appendText(std::to_string(*integer), nested);
        } else if (const auto *number = value.as<double>()) {
            appendText(shortestText(*number), nested);
        } else if (const auto *data = value.as<PropertyList::Data>()) {
            result_ += dataText(data->bytes);
        } else if (const auto *date = value.as<PropertyList::Date>()) {
            appendText(dateText(date->secondsSinceReference), nested);
        } else if (const auto *array = value.as<PropertyList::Array>()) {
            appendArray(*array, level);
        } else if (const auto *dictionary = value.as<PropertyList::Dictionary>()) {
            appendDictionary(*dictionary, level);
        }
    }

private:
    void appendText(std::string_view text, bool nested) {
        if (nested) {
            appendElement(result_, text);
        } else {
            result_ += text;
        }
    }

    void appendArray(const PropertyList::Array &array, std::size_t level) {
        result_ += indentation(level) + "(\n";
        bool first = true;
        for (const PropertyList &element : array) {
            if (!first) {
                result_ += ",\n";
            }
            first = false;
            result_ += indentation(level + 1);
            append(element, level + 1, true);
        }
        result_ += (first ? "" : "\n") + indentation(level) + ")";
    }

    void appendDictionary(const PropertyList::Dictionary &dictionary, std::size_t level) {
        result_ += indentation(level) + "{\n";
        for (const auto &[key, value] : dictionary) {
            result_ += indentation(level + 1);
            appendElement(result_, key);
            result_ += " = ";
            append(value, level + 1, true);
            result_ += ";\n";
        }
        result_ += indentation(level) + "}";
    }

    std::string &result_;
};

} // namespace

std::string PropertyList::description() const {
    std::string result;
    Describer(result).append(*this, 0, false);
    return result;
}

std::string_view PropertyList::typeName() const {
    constexpr std::array<std::string_view, 8> names = {"a boolean", "an integer", "a number", "a string",
                                                       "data",      "a date",     "an array", "a dictionary"};
    static_assert(std::variant_size_v<decltype(value_)> == names.size());
    return names[value_.index()];
}

const PropertyList *PropertyList::find(std::string_view key) const {
    const auto *dictionary = as<Dictionary>();
    if (dictionary == nullptr) {
        return nullptr;
    }
    const auto entry = dictionary->find(key);
    return entry == dictionary->end() ? nullptr : &entry->second;
}

std::optional<std::string> PropertyList::stringForKey(std::string_view key) const {
    const PropertyList *value = find(key);
    const auto *text = value == nullptr ? nullptr : value->as<std::string>();
    return text == nullptr ? std::nullopt : std::optional(*text);
}

std::string description(const std::vector<std::string> &strings) {
    std::string result = "(\n";
    for (const std::string &text : strings) {
        result += "    ";
        appendElement(result, text);
        result += &text == &strings.back() ? "\n" : ",\n";
    }
    return result + ")";
}

} // namespace kestrav::platform
