#include "platform/linux/StringTable.h"

#include "platform/PropertyList.h"
#include "platform/text.h"

#include <cstddef>
#include <optional>

namespace kestrav::platform {

namespace {

bool isSpace(char16_t unit) {
    return isWhitespaceOrNewline(unit);
}

bool isBare(char16_t unit) {
    return (unit >= u'a' && unit <= u'z') || (unit >= u'A' && unit <= u'Z') || (unit >= u'0' && unit <= u'9') ||
           std::u16string_view(u"_$/:.-").find(unit) != std::u16string_view::npos;
}

/// The value of a hexadecimal digit, 16 for anything else.
unsigned digitValue(char16_t unit) {
    if (unit >= u'0' && unit <= u'9') {
        return unit - u'0';
    }
    const unsigned lower = unit | 0x20U;
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : 16;
}

/// Reads the classic form. Works on UTF-16 units, because "\Ud83d\Ude00" is one character.
class StringTableParser {
public:
    explicit StringTableParser(std::u16string_view text) : rest_(text) {}

    StringTable run() {
        StringTable table;
        for (;;) {
            const auto key = string();
            if (!key) {
                return table;
            }
            auto value = key;
            if (takeAfterSpace(u'=')) {
                value = string();
                if (!value) {
                    return table;
                }
            }
            table.insert_or_assign(utf8(*key), utf8(*value));
            if (!takeAfterSpace(u';')) {
                return table;
            }
        }
    }

private:
    /// Skips white space and comments.
    void skipSpace() {
        for (;;) {
            while (!rest_.empty() && isSpace(rest_.front())) {
                rest_.remove_prefix(1);
            }
            std::size_t end = 0;
            if (rest_.starts_with(u"//")) {
                end = rest_.find_first_of(u"\n\r\u2028\u2029");
            } else if (rest_.starts_with(u"/*")) {
                end = rest_.find(u"*/", 2);
                end = end == std::u16string_view::npos ? end : end + 2;
            } else {
                return;
            }
            rest_.remove_prefix(end == std::u16string_view::npos ? rest_.size() : end);
        }
    }

    bool takeAfterSpace(char16_t unit) {
        skipSpace();
        const bool found = rest_.starts_with(unit);
        rest_.remove_prefix(found ? 1 : 0);
        return found;
    }

    /// A quoted or a bare string; empty if there is neither, or if it does not end.
    std::optional<std::u16string> string() {
        skipSpace();
        if (rest_.starts_with(u'"') || rest_.starts_with(u'\'')) {
            return quoted();
        }
        std::size_t size = 0;
        while (size < rest_.size() && isBare(rest_[size])) {
            ++size;
        }
        const std::u16string text(rest_.substr(0, size));
        rest_.remove_prefix(size);
        return size > 0 ? std::optional(text) : std::nullopt;
    }

    std::optional<std::u16string> quoted() {
        const char16_t quote = next();
        std::u16string text;
        while (!rest_.empty()) {
            const char16_t unit = next();
            if (unit == quote) {
                return text;
            }
            if (unit != u'\\') {
                text += unit;
            } else if (!rest_.empty()) {
                text += escaped();
            }
        }
        return std::nullopt;
    }

    /// The character that an escape stands for. Called after its backslash.
    char16_t escaped() {
        const char16_t unit = next();
        switch (unit) {
        case u'a':
            return u'\a';
        case u'b':
            return u'\b';
        case u'f':
            return u'\f';
        case u'n':
            return u'\n';
        case u'r':
            return u'\r';
        case u't':
            return u'\t';
        case u'v':
            return u'\v';
        case u'U':
        case u'u':
            return number(4, 16).value_or(unit);
        default:
            break;
        }
        if (digitValue(unit) >= 8) {
            return unit;
        }
        const auto lower = number(2, 8);
        const unsigned first = digitValue(unit);
        return static_cast<char16_t>(lower ? first << (3U * taken_) | *lower : first);
    }

    /// A number of at most `digits` digits; `taken_` is set to how many there were.
    std::optional<char16_t> number(unsigned digits, unsigned base) {
        unsigned value = 0;
        for (taken_ = 0; taken_ < digits && !rest_.empty() && digitValue(rest_.front()) < base; ++taken_) {
            value = value * base + digitValue(next());
        }
        return taken_ > 0 ? std::optional(static_cast<char16_t>(value)) : std::nullopt;
    }

    char16_t next() {
        const char16_t unit = rest_.front();
        rest_.remove_prefix(1);
        return unit;
    }

    std::u16string_view rest_;
    unsigned taken_ = 0;
};

StringTable stringsOf(const std::optional<PropertyList> &list) {
    StringTable table;
    const auto *dictionary = list ? list->as<PropertyList::Dictionary>() : nullptr;
    if (dictionary != nullptr) {
        for (const auto &[key, value] : *dictionary) {
            if (const auto *text = value.as<std::string>()) {
                table.emplace(key, *text);
            }
        }
    }
    return table;
}

} // namespace

StringTable parseStringTable(std::string_view bytes) {
    if (bytes.starts_with("bplist")) {
        return stringsOf(PropertyList::parse(bytes));
    }
    const std::u16string text = utf16(utf8Text(bytes));
    const std::u16string_view view = text;
    std::size_t begin = 0;
    while (begin < view.size() && isSpace(view[begin])) {
        ++begin;
    }
    if (view.substr(begin).starts_with(u'<')) {
        return stringsOf(PropertyList::parse(utf8(view.substr(begin))));
    }
    return StringTableParser(view).run();
}

} // namespace kestrav::platform
