#include "PropertyFile.h"

#include "Request.h"
#include "platform/FileManager.h"
#include "platform/text.h"

#include <charconv>
#include <string_view>

namespace kestrav::tools {

namespace {

constexpr std::u16string_view blanks = u" \t\f";
constexpr std::u16string_view lineBreaks = u"\r\n";

/// Works on UTF-16 units, which "\u" stands for.
class PropertyReader {
public:
    PropertyReader(std::u16string_view text, const std::string &path) : text_(text), path_(path) {}

    std::map<std::string, std::string> properties() {
        std::map<std::string, std::string> properties;
        while (skipToEntry()) {
            const std::string key = part(u"=: \t\f");
            skipBlanks();
            if (isAt(u"=:")) {
                ++at_;
                skipBlanks();
            }
            properties[key] = part(u"");
        }
        return properties;
    }

private:
    [[nodiscard]] bool isAt(std::u16string_view units) const {
        return at_ < text_.size() && units.find(text_[at_]) != std::u16string_view::npos;
    }

    /// Passes over empty lines and comments, which end with their line whatever its last character is.
    bool skipToEntry() {
        constexpr std::u16string_view between = u" \t\f\r\n";
        at_ = text_.find_first_not_of(between, at_);
        while (isAt(u"#!")) {
            at_ = text_.find_first_not_of(between, text_.find_first_of(lineBreaks, at_));
        }
        return at_ < text_.size();
    }

    /// Passes over a backslash and the line break behind it.
    bool skipLineEnd() {
        for (const std::u16string_view end : {u"\\\r\n", u"\\\r", u"\\\n"}) {
            if (text_.substr(at_).starts_with(end)) {
                at_ += end.size();
                return true;
            }
        }
        return false;
    }

    void skipBlanks() {
        while (isAt(blanks) || skipLineEnd()) {
            at_ += isAt(blanks) ? 1 : 0;
        }
    }

    /// As far as one of the units, or the end of the entry.
    std::string part(std::u16string_view ends) {
        std::u16string units;
        while (at_ < text_.size() && !isAt(ends) && !isAt(lineBreaks)) {
            if (skipLineEnd()) {
                skipBlanks();
                continue;
            }
            const char16_t unit = text_[at_++];
            if (unit != u'\\') {
                units += unit;
            } else if (at_ < text_.size()) {
                units += escaped(text_[at_++]);
            }
        }
        return platform::utf8(units);
    }

    char16_t escaped(char16_t unit) {
        constexpr std::u16string_view letters = u"nrtf";
        constexpr std::u16string_view meanings = u"\n\r\t\f";
        if (unit == u'u') {
            return code();
        }
        const std::size_t letter = letters.find(unit);
        return letter == std::u16string_view::npos ? unit : meanings[letter];
    }

    char16_t code() {
        constexpr std::size_t length = 4;
        constexpr int hexadecimal = 16;
        const std::string digits = platform::utf8(text_.substr(at_, length));
        std::uint16_t unit = 0;
        const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), unit, hexadecimal);
        if (error != std::errc() || end != digits.data() + length) {
            throw Refusal("The property file " + path_ + R"( has a "\u" without its four hexadecimal digits)");
        }
        at_ += length;
        return unit;
    }

    std::u16string_view text_;
    const std::string &path_;
    std::size_t at_ = 0;
};

} // namespace

std::map<std::string, std::string> propertiesOf(const std::string &path) {
    const auto text = platform::stringWithContentsOfFile(path);
    if (!text) {
        throw Refusal("The property file " + path + " cannot be read as UTF-8 text");
    }
    const std::u16string units = platform::utf16(*text);
    return PropertyReader(units, path).properties();
}

} // namespace kestrav::tools
