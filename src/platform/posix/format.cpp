#include "platform/format.h"

#include "platform/posix/FormatWriter.h"

#include <algorithm>
#include <utility>

namespace kestrav::platform {

namespace {

/// No message is wider; keeps a damaged format of a string table from filling the memory.
constexpr int widthLimit = 4096;

using Placeholder = FormatPlaceholder;

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
            if (isFormatConversion(placeholder.conversion)) {
                appendFormatted(result_, placeholder, argument(placeholder.position));
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

    /// The number at the beginning, if there is one.
    std::optional<int> takeNumber() {
        std::optional<int> number;
        while (!rest_.empty() && rest_.front() >= '0' && rest_.front() <= '9') {
            number = std::min(widthLimit, number.value_or(0) * 10 + (rest_.front() - '0'));
            rest_.remove_prefix(1);
        }
        return number;
    }

    bool takeFlag(Placeholder &placeholder) {
        const std::pair<char, bool *> flags[] = {{'-', &placeholder.left},
                                                 {'+', &placeholder.plus},
                                                 {' ', &placeholder.space},
                                                 {'#', &placeholder.alternate},
                                                 {'0', &placeholder.zero}};
        for (const auto &[character, set] : flags) {
            if (take(character)) {
                *set = true;
                return true;
            }
        }
        return take('\''); // grouping of digits is left to the locale, and there is none
    }

    /// Reads "%" and what belongs to it. The conversion is '\0' if the format ends within.
    Placeholder parse() {
        Placeholder placeholder;
        rest_.remove_prefix(1);
        const std::string_view afterPercent = rest_;
        if (const auto position = takeNumber(); position && take('$')) {
            placeholder.position = static_cast<std::size_t>(*position);
        } else {
            rest_ = afterPercent;
        }
        while (takeFlag(placeholder)) {
        }
        const auto size = [this] { return take('*') ? sizeArgument() : takeNumber().value_or(0); };
        placeholder.width = size();
        if (placeholder.width < 0) {
            placeholder.left = true;
            placeholder.width = -placeholder.width;
        }
        if (take('.')) {
            placeholder.precision = size();
        }
        while (!rest_.empty() && std::string_view("hlqjztL").find(rest_.front()) != std::string_view::npos) {
            placeholder.wide = placeholder.wide || rest_.front() != 'h';
            rest_.remove_prefix(1);
        }
        if (!rest_.empty()) {
            placeholder.conversion = rest_.front();
            rest_.remove_prefix(1);
        }
        return placeholder;
    }

    int sizeArgument() {
        const FormatInteger size = integerOfArgument(argument(0));
        const int limited = static_cast<int>(std::min<std::uint64_t>(size.magnitude, widthLimit));
        return size.negative ? -limited : limited;
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

FormatArgument::FormatArgument(const char *text) {
    if (text != nullptr) {
        value_ = std::string_view(text);
    }
}

FormatArgument::FormatArgument(const std::optional<std::string> &text) {
    if (text) {
        value_ = std::string_view(*text);
    }
}

FormatArgument::FormatArgument(const PropertyList *list) {
    if (list != nullptr) {
        value_ = list;
    }
}

std::string formatArguments(std::string_view format, std::span<const FormatArgument> arguments) {
    return Formatter(format, arguments).run();
}

} // namespace kestrav::platform
