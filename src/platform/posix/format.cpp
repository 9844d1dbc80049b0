#include "platform/format.h"

#include "platform/posix/numberText.h"
#include "platform/posix/unicode.h"
#include "platform/text.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <type_traits>
#include <utility>

namespace kestrav::platform {

namespace {

constexpr std::string_view conversions = "@sSdDiuUxXoOcCpaAeEfFgG";

/// The largest width. No message needs more, and a damaged format in a string table must not fill the memory.
constexpr int widthLimit = 4096;

/// One placeholder of a format, taken apart.
struct Placeholder {
    std::size_t position = 0; // 1-based; 0 means the next argument
    std::string flags;        // characters among "-+ #0"
    bool wide = false;        // has a length modifier for 64 bits
    int width = 0;
    int precision = -1;
    char conversion = '\0';
};

using Number = std::variant<std::int64_t, std::uint64_t, double>;

/// The number that an argument holds, whatever its kind: the leading number of a string, 0 for lists and nil.
Number numberOf(const FormatArgument::Value &value) {
    const auto convert = [](const auto &held) -> Number {
        using Held = std::decay_t<decltype(held)>;
        if constexpr (std::is_arithmetic_v<Held>) {
            return held;
        } else if constexpr (std::is_same_v<Held, std::string_view>) {
            return longLongValue(held);
        } else if constexpr (std::is_same_v<Held, const void *>) {
            return std::uint64_t{reinterpret_cast<std::uintptr_t>(held)};
        } else if constexpr (std::is_same_v<Held, const PropertyList *>) {
            const auto *text = held->template as<std::string>();
            const auto *integer = held->template as<std::int64_t>();
            const auto *real = held->template as<double>();
            const auto *boolean = held->template as<bool>();
            const bool isTrue = boolean != nullptr && *boolean;
            return text != nullptr      ? Number(longLongValue(*text))
                   : integer != nullptr ? Number(*integer)
                   : real != nullptr    ? Number(*real)
                                        : Number(std::int64_t{isTrue});
        } else {
            return std::int64_t{0};
        }
    };
    return std::visit(convert, value);
}

/// A 64-bit integer: a signed one if negative, else an unsigned one.
struct Integer {
    std::uint64_t bits = 0;
    bool negative = false;
};

Integer integerOf(const Number &number) {
    if (const auto *real = std::get_if<double>(&number)) {
        constexpr double limit = 9223372036854775808.0; // 2^63
        if (*real < 0) {
            const auto least = std::numeric_limits<std::int64_t>::min();
            return {static_cast<std::uint64_t>(*real > -limit ? static_cast<std::int64_t>(*real) : least), true};
        }
        const auto most = std::numeric_limits<std::uint64_t>::max();
        return {std::isnan(*real) ? 0 : *real < 2 * limit ? static_cast<std::uint64_t>(*real) : most, false};
    }
    if (const auto *whole = std::get_if<std::int64_t>(&number)) {
        return {static_cast<std::uint64_t>(*whole), *whole < 0};
    }
    return {std::get<std::uint64_t>(number), false};
}

std::string hexadecimal(std::uint64_t address) {
    return "0x" + printed("%*.*llx", 0, -1, static_cast<unsigned long long>(address));
}

std::string textOf(const FormatArgument::Value &value) {
    const auto convert = [](const auto &held) -> std::string {
        using Held = std::decay_t<decltype(held)>;
        if constexpr (std::is_same_v<Held, std::string_view>) {
            return std::string(held);
        } else if constexpr (std::is_same_v<Held, double>) {
            return shortestText(held);
        } else if constexpr (std::is_arithmetic_v<Held>) {
            return std::to_string(held);
        } else if constexpr (std::is_same_v<Held, const void *>) {
            return hexadecimal(reinterpret_cast<std::uintptr_t>(held));
        } else if constexpr (std::is_same_v<Held, const PropertyList *>) {
            return held->description();
        } else if constexpr (std::is_same_v<Held, const std::vector<std::string> *>) {
            return description(*held);
        } else {
            return "(null)";
        }
    };
    return std::visit(convert, value);
}

/// The first character of a string, or the character with the argument's number.
std::string characterOf(const FormatArgument::Value &value) {
    if (const auto *text = std::get_if<std::string_view>(&value)) {
        return std::string(text->substr(0, text->empty() ? 0 : decodeCharacter(*text).size));
    }
    std::string character;
    if (!std::holds_alternative<std::monostate>(value)) {
        const std::uint64_t code = integerOf(numberOf(value)).bits;
        appendCharacter(character, static_cast<char32_t>(std::min<std::uint64_t>(code, 0x110000)));
    }
    return character;
}

std::string formattedInteger(const Placeholder &placeholder, Integer integer, char conversion) {
    const std::string begin = "%" + placeholder.flags + "*.*ll";
    if (conversion == 'd') {
        if (integer.negative || integer.bits <= std::uint64_t{std::numeric_limits<std::int64_t>::max()}) {
            const auto number = static_cast<long long>(integer.bits);
            return printed((begin + "d").c_str(), placeholder.width, placeholder.precision, number);
        }
        conversion = 'u';
    }
    const auto least = std::numeric_limits<std::int32_t>::min();
    if (integer.negative && !placeholder.wide && static_cast<std::int64_t>(integer.bits) >= least) {
        integer.bits &= 0xFFFFFFFFU; // the width the value would have had as a plain C argument
    }
    const auto number = static_cast<unsigned long long>(integer.bits);
    return printed((begin + conversion).c_str(), placeholder.width, placeholder.precision, number);
}

/// Width and precision count characters, not bytes.
std::string padded(const Placeholder &placeholder, std::string text, int precision) {
    std::size_t count = 0;
    std::size_t size = 0;
    while (size < text.size() && (precision < 0 || count < static_cast<std::size_t>(precision))) {
        size += decodeCharacter(std::string_view(text).substr(size)).size;
        ++count;
    }
    text.resize(size);
    const auto width = static_cast<std::size_t>(placeholder.width);
    const bool left = placeholder.flags.find('-') != std::string::npos;
    return width > count ? text.insert(left ? size : 0, width - count, ' ') : text;
}

std::string formatted(const Placeholder &placeholder, const FormatArgument::Value &value) {
    switch (placeholder.conversion) {
    case '@':
    case 's':
    case 'S':
        return padded(placeholder, textOf(value), placeholder.precision);
    case 'c':
    case 'C':
        return padded(placeholder, characterOf(value), placeholder.precision);
    case 'p':
        return padded(placeholder, hexadecimal(integerOf(numberOf(value)).bits), -1);
    case 'd':
    case 'D':
    case 'i':
        return formattedInteger(placeholder, integerOf(numberOf(value)), 'd');
    case 'u':
    case 'U':
        return formattedInteger(placeholder, integerOf(numberOf(value)), 'u');
    case 'o':
    case 'O':
        return formattedInteger(placeholder, integerOf(numberOf(value)), 'o');
    case 'x':
    case 'X':
        return formattedInteger(placeholder, integerOf(numberOf(value)), placeholder.conversion);
    default:
        break;
    }
    const double number = std::visit([](auto held) { return static_cast<double>(held); }, numberOf(value));
    return withDecimalPoint(printed(("%" + placeholder.flags + "*.*" + placeholder.conversion).c_str(),
                                    placeholder.width, placeholder.precision, number));
}

class Formatter {
public:
    Formatter(std::string_view format, std::span<const FormatArgument> arguments)
        : rest_(format), arguments_(arguments) {
        result_.reserve(format.size() + 64);
    }

    std::string run() {
        for (;;) {
            const std::size_t percent = rest_.find('%');
            result_ += rest_.substr(0, percent);
            if (percent == std::string_view::npos) {
                return std::move(result_);
            }
            rest_.remove_prefix(percent);
            const std::string_view begin = rest_;
            const Placeholder placeholder = parse();
            if (conversions.find(placeholder.conversion) != std::string_view::npos) {
                result_ += formatted(placeholder, argument(placeholder.position));
            } else if (placeholder.conversion == '%') {
                result_ += '%';
            } else {
                result_ += begin.substr(0, begin.size() - rest_.size());
            }
        }
    }

private:
    bool take(char c) {
        const bool found = rest_.starts_with(c);
        rest_.remove_prefix(found ? 1 : 0);
        return found;
    }

    /// Takes the number at the beginning, if there is one.
    std::optional<int> takeNumber() {
        std::optional<int> number;
        while (!rest_.empty() && rest_.front() >= '0' && rest_.front() <= '9') {
            number = std::min(widthLimit, number.value_or(0) * 10 + (rest_.front() - '0'));
            rest_.remove_prefix(1);
        }
        return number;
    }

    /// Takes the characters at the beginning that are among these.
    std::string_view takeAnyOf(std::string_view characters) {
        const std::string_view taken = rest_.substr(0, rest_.find_first_not_of(characters));
        rest_.remove_prefix(taken.size());
        return taken;
    }

    /// Reads "%" and what belongs to it. The conversion is '\0' if the format ends too early.
    Placeholder parse() {
        Placeholder placeholder;
        rest_.remove_prefix(1);
        const std::string_view afterPercent = rest_;
        if (const auto position = takeNumber(); position && take('$')) {
            placeholder.position = static_cast<std::size_t>(*position);
        } else {
            rest_ = afterPercent;
        }
        for (const char flag : takeAnyOf("-+ #0'")) {
            placeholder.flags.append(flag != '\'' ? 1 : 0, flag); // digits are not grouped
        }
        const auto size = [this] { return take('*') ? sizeArgument() : takeNumber().value_or(0); };
        placeholder.width = size();
        if (placeholder.width < 0) {
            placeholder.flags += '-';
            placeholder.width = -placeholder.width;
        }
        if (take('.')) {
            placeholder.precision = size();
        }
        placeholder.wide = takeAnyOf("hlqjztL").find_first_not_of('h') != std::string_view::npos;
        if (!rest_.empty()) {
            placeholder.conversion = rest_.front();
            rest_.remove_prefix(1);
        }
        return placeholder;
    }

    int sizeArgument() {
        const Integer size = integerOf(numberOf(argument(0)));
        constexpr std::uint64_t limit = widthLimit;
        return size.negative ? -static_cast<int>(std::min(limit, ~size.bits + 1))
                             : static_cast<int>(std::min(limit, size.bits));
    }

    /// The argument at a 1-based position, or the next one; nil where there are no more.
    FormatArgument::Value argument(std::size_t position) {
        const std::size_t index = position != 0 ? position - 1 : next_++;
        return index < arguments_.size() ? arguments_[index].value() : FormatArgument::Value();
    }

    std::string_view rest_;
    std::span<const FormatArgument> arguments_;
    std::size_t next_ = 0;
    std::string result_;
};

} // namespace

std::string formatArguments(std::string_view format, std::span<const FormatArgument> arguments) {
    return Formatter(format, arguments).run();
}

} // namespace kestrav::platform
