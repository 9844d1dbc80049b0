#include "platform/posix/FormatWriter.h"

#include "platform/posix/numberText.h"
#include "platform/posix/unicode.h"
#include "platform/text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <utility>

namespace kestrav::platform {

namespace {

constexpr std::string_view nilText = "(null)";

using Placeholder = FormatPlaceholder;
using Integer = FormatInteger;

Integer fromSigned(std::int64_t number) {
    const auto bits = static_cast<std::uint64_t>(number);
    return number < 0 ? Integer{~bits + 1, true} : Integer{bits, false};
}

Integer fromDouble(double number) {
    constexpr double limit = 18446744073709551616.0; // 2^64
    if (std::isnan(number)) {
        return {};
    }
    const double size = std::fabs(number);
    return {size < limit ? static_cast<std::uint64_t>(size) : std::numeric_limits<std::uint64_t>::max(), number < 0};
}

/// Calls the function of `Visitor` that fits what the argument holds; property lists count as what they hold.
template <class Visitor> auto visitArgument(const FormatArgument::Value &value, const Visitor &visitor) {
    if (const auto *list = std::get_if<const PropertyList *>(&value)) {
        if (const auto *text = (*list)->as<std::string>()) {
            return visitor(std::string_view(*text));
        }
        if (const auto *number = (*list)->as<std::int64_t>()) {
            return visitor(*number);
        }
        if (const auto *number = (*list)->as<double>()) {
            return visitor(*number);
        }
        if (const auto *boolean = (*list)->as<bool>()) {
            return visitor(static_cast<std::int64_t>(*boolean));
        }
    }
    return std::visit(visitor, value);
}

struct IntegerOf {
    Integer operator()(std::monostate /*nil*/) const { return {}; }
    Integer operator()(std::string_view text) const { return fromSigned(longLongValue(text)); }
    Integer operator()(std::int64_t number) const { return fromSigned(number); }
    Integer operator()(std::uint64_t number) const { return {number, false}; }
    Integer operator()(double number) const { return fromDouble(number); }
    Integer operator()(const PropertyList * /*list*/) const { return {}; }
    Integer operator()(const std::vector<std::string> * /*texts*/) const { return {}; }
    Integer operator()(const void *address) const { return {reinterpret_cast<std::uintptr_t>(address), false}; }
};

struct DoubleOf {
    double operator()(std::monostate /*nil*/) const { return 0; }
    double operator()(std::string_view text) const { return static_cast<double>(longLongValue(text)); }
    double operator()(std::int64_t number) const { return static_cast<double>(number); }
    double operator()(std::uint64_t number) const { return static_cast<double>(number); }
    double operator()(double number) const { return number; }
    double operator()(const void * /*address*/) const { return 0; }
    double operator()(const PropertyList * /*list*/) const { return 0; }
    double operator()(const std::vector<std::string> * /*texts*/) const { return 0; }
};

template <class Number> std::string_view digits(std::array<char, 72> &buffer, Number number, int base = 10) {
    const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), number, base).ptr;
    return {buffer.data(), static_cast<std::size_t>(end - buffer.data())};
}

class Writer {
public:
    Writer(std::string &result, const Placeholder &placeholder) : result_(result), placeholder_(placeholder) {}

    void put(const FormatArgument::Value &value) {
        switch (placeholder_.conversion) {
        case '@':
        case 's':
        case 'S':
            putText(value);
            break;
        case 'd':
        case 'D':
        case 'i':
            putSigned(integerOfArgument(value));
            break;
        case 'u':
        case 'U':
            putUnsigned(integerOfArgument(value), 10);
            break;
        case 'x':
        case 'X':
            putUnsigned(integerOfArgument(value), 16);
            break;
        case 'o':
        case 'O':
            putUnsigned(integerOfArgument(value), 8);
            break;
        case 'c':
        case 'C':
            putCharacter(value);
            break;
        case 'p':
            putPointer(value);
            break;
        default:
            putDouble(value);
        }
    }

private:
    void putText(const FormatArgument::Value &value) {
        std::array<char, 72> buffer{};
        std::string owned;
        std::string_view text = nilText;
        if (const auto *view = std::get_if<std::string_view>(&value)) {
            text = *view;
        } else if (const auto *number = std::get_if<std::int64_t>(&value)) {
            text = digits(buffer, *number);
        } else if (const auto *unsignedNumber = std::get_if<std::uint64_t>(&value)) {
            text = digits(buffer, *unsignedNumber);
        } else if (const auto *real = std::get_if<double>(&value)) {
            text = owned = shortestText(*real);
        } else if (const auto *address = std::get_if<const void *>(&value)) {
            text = owned = "0x" + std::string(digits(buffer, reinterpret_cast<std::uintptr_t>(*address), 16));
        } else if (const auto *list = std::get_if<const PropertyList *>(&value)) {
            text = owned = (*list)->description();
        } else if (const auto *texts = std::get_if<const std::vector<std::string> *>(&value)) {
            text = owned = description(**texts);
        }
        putPadded(text);
    }

    /// Width and precision count characters, not bytes.
    void putPadded(std::string_view text) {
        if (placeholder_.width == 0 && placeholder_.precision < 0) {
            result_ += text;
            return;
        }
        const std::size_t limit =
            placeholder_.precision < 0 ? text.size() : static_cast<std::size_t>(placeholder_.precision);
        std::size_t count = 0;
        std::size_t size = 0;
        while (size < text.size() && count < limit) {
            size += decodeCharacter(text.substr(size)).size;
            ++count;
        }
        const auto width = static_cast<std::size_t>(placeholder_.width);
        const std::size_t padding = width > count ? width - count : 0;
        result_.append(placeholder_.left ? 0 : padding, ' ');
        result_ += text.substr(0, size);
        result_.append(placeholder_.left ? padding : 0, ' ');
    }

    void putNumber(std::string_view prefix, std::string_view text) {
        const auto precision = static_cast<std::size_t>(std::max(placeholder_.precision, 0));
        std::size_t zeros = precision > text.size() ? precision - text.size() : 0;
        const std::size_t size = prefix.size() + zeros + text.size();
        const auto width = static_cast<std::size_t>(placeholder_.width);
        std::size_t padding = width > size ? width - size : 0;
        if (placeholder_.zero && !placeholder_.left && placeholder_.precision < 0) {
            zeros += std::exchange(padding, 0);
        }
        result_.append(placeholder_.left ? 0 : padding, ' ');
        result_.append(prefix).append(zeros, '0').append(text);
        result_.append(placeholder_.left ? padding : 0, ' ');
    }

    void putSigned(Integer number) {
        std::array<char, 72> buffer{};
        std::string_view sign;
        if (number.negative) {
            sign = "-";
        } else if (placeholder_.plus) {
            sign = "+";
        } else if (placeholder_.space) {
            sign = " ";
        }
        putNumber(sign, digits(buffer, number.magnitude));
    }

    void putUnsigned(Integer number, int base) {
        std::uint64_t bits = number.magnitude;
        if (number.negative) {
            // The two's complement, in the width the value would have had as a plain C argument.
            const bool fitsInt = number.magnitude <= std::uint64_t{1} << 31U;
            bits = ~bits + 1;
            if (!placeholder_.wide && fitsInt) {
                bits &= 0xFFFFFFFFU;
            }
        }
        std::array<char, 72> buffer{};
        const std::string_view text = digits(buffer, bits, base);
        std::string_view prefix;
        if (placeholder_.alternate && bits != 0 && base != 10) {
            prefix = base == 8 ? "0" : "0x";
        }
        if (placeholder_.conversion == 'X') {
            std::transform(text.begin(), text.end(), buffer.begin(),
                           [](char c) { return c >= 'a' ? static_cast<char>(c - 'a' + 'A') : c; });
            prefix = prefix.empty() ? prefix : "0X";
        }
        putNumber(prefix, text);
    }

    void putCharacter(const FormatArgument::Value &value) {
        std::string character;
        if (const auto *text = std::get_if<std::string_view>(&value)) {
            character = text->empty() ? std::string() : std::string(text->substr(0, decodeCharacter(*text).size));
        } else if (!std::holds_alternative<std::monostate>(value)) {
            const Integer code = integerOfArgument(value);
            appendCharacter(character, static_cast<char32_t>(std::min<std::uint64_t>(code.magnitude, 0x110000)));
        }
        putPadded(character);
    }

    void putPointer(const FormatArgument::Value &value) {
        const void *address = nullptr;
        if (const auto *pointer = std::get_if<const void *>(&value)) {
            address = *pointer;
        } else if (const auto *text = std::get_if<std::string_view>(&value)) {
            address = text->data();
        } else if (const auto *list = std::get_if<const PropertyList *>(&value)) {
            address = *list;
        } else if (const auto *texts = std::get_if<const std::vector<std::string> *>(&value)) {
            address = *texts;
        }
        std::array<char, 72> buffer{};
        const auto number =
            address != nullptr ? reinterpret_cast<std::uintptr_t>(address) : integerOfArgument(value).magnitude;
        putNumber("0x", digits(buffer, number, 16));
    }

    void putDouble(const FormatArgument::Value &value) {
        const double number = visitArgument(value, DoubleOf());
        std::string flags;
        const std::pair<bool, char> all[] = {{placeholder_.left, '-'},
                                             {placeholder_.plus, '+'},
                                             {placeholder_.space, ' '},
                                             {placeholder_.alternate, '#'},
                                             {placeholder_.zero, '0'}};
        for (const auto &[set, character] : all) {
            if (set) {
                flags += character;
            }
        }
        result_ += formatDouble(number, flags, placeholder_.width, placeholder_.precision, placeholder_.conversion);
    }

    std::string &result_;
    const Placeholder &placeholder_;
};

} // namespace

FormatInteger integerOfArgument(const FormatArgument::Value &value) {
    return visitArgument(value, IntegerOf());
}

bool isFormatConversion(char character) {
    return std::string_view("@sSdDiuUxXoOcCpaAeEfFgG").find(character) != std::string_view::npos;
}

void appendFormatted(std::string &text, const FormatPlaceholder &placeholder, const FormatArgument::Value &value) {
    Writer(text, placeholder).put(value);
}

} // namespace kestrav::platform
