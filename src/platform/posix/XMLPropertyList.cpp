#include "platform/posix/XMLPropertyList.h"

#include "platform/PropertyList.h"
#include "platform/text.h"

#include <algorithm>
#include <array>
#include <string>
#include <vector>

namespace kestrav::platform {

namespace {

constexpr std::string_view blanks = " \t\r\n";

/// Passes over the list element by element. Whatever is not understood is a fault.
class Scanner {
public:
    explicit Scanner(std::string_view xml) : xml_(xml) {}

    [[nodiscard]] std::optional<std::size_t> fault() {
        return prologue() && value() && end() ? std::nullopt : std::optional(std::min(position_, xml_.size()));
    }

private:
    struct Container {
        std::string_view name;
        bool wantsKey = false;
    };

    [[nodiscard]] std::string_view rest() const { return xml_.substr(std::min(position_, xml_.size())); }

    /// Moves behind the next `text`; false, without a move, if there is none.
    bool skipBehind(std::string_view text, std::size_t from) {
        const auto found = xml_.find(text, from);
        if (found == std::string_view::npos) {
            return false;
        }
        position_ = found + text.size();
        return true;
    }

    /// `skipBehind`, where quotes might hide the end: they have to come in pairs.
    bool skipMarkup(std::string_view end) {
        const auto begin = position_;
        if (!skipBehind(end, begin)) {
            return false;
        }
        const bool whole = std::count(xml_.begin() + static_cast<std::ptrdiff_t>(begin),
                                      xml_.begin() + static_cast<std::ptrdiff_t>(position_), '"') %
                               2 ==
                           0;
        position_ = whole ? position_ : begin;
        return whole;
    }

    /// Passes over white space, comments, instructions and the document type; false for a damaged one.
    bool skipBetween() {
        for (;;) {
            position_ = std::min(xml_.find_first_not_of(blanks, position_), xml_.size());
            bool whole = true;
            if (rest().starts_with("<!--")) {
                whole = skipBehind("-->", position_ + 4);
            } else if (rest().starts_with("<?")) {
                whole = skipMarkup("?>");
            } else if (rest().starts_with("<!DOCTYPE")) {
                const bool embeds = rest().substr(0, rest().find('>')).find('[') != std::string_view::npos;
                whole = skipMarkup(embeds ? "]>" : ">");
            } else {
                return true;
            }
            if (!whole) {
                return false;
            }
        }
    }

    bool prologue() {
        if (!skipBetween()) {
            return false;
        }
        std::string_view tag = nextTag();
        wrapped_ = nameOf(tag) == "plist" && !tag.ends_with('/');
        if (wrapped_) {
            position_ += tag.size() + 2;
        }
        return true;
    }

    /// What stands between "<" and ">" at this place; empty if no whole tag is there.
    [[nodiscard]] std::string_view nextTag() const {
        const auto end = rest().find('>');
        if (!rest().starts_with('<') || end == std::string_view::npos) {
            return {};
        }
        const std::string_view tag = rest().substr(1, end - 1);
        const bool clear = tag.find('<') == std::string_view::npos && std::count(tag.begin(), tag.end(), '"') % 2 == 0;
        return clear ? tag : std::string_view();
    }

    /// The name in a tag, a closing tag's with its "/".
    static std::string_view nameOf(std::string_view tag) {
        return tag.substr(0, std::min(tag.find_first_of(" \t\r\n/", 1), tag.size()));
    }

    /// The outermost value with all that is in it.
    bool value() {
        do {
            if (!skipBetween()) {
                return false;
            }
            const std::string_view tag = nextTag();
            if (!(tag.starts_with('/') ? closingTag(tag) : element(tag))) {
                return false;
            }
        } while (!open_.empty());
        return true;
    }

    bool closingTag(std::string_view tag) {
        if (open_.empty() || nameOf(tag).substr(1) != open_.back().name) {
            return false;
        }
        open_.pop_back();
        position_ += tag.size() + 2;
        return true;
    }

    bool element(std::string_view tag) {
        static constexpr std::array<std::string_view, 8> texts = {"string", "key",  "integer", "real",
                                                                  "date",   "data", "true",    "false"};
        const std::string_view name = nameOf(tag);
        const bool empty = tag.ends_with('/');
        const bool isContainer = name == "array" || name == "dict";
        if (!isContainer && std::find(texts.begin(), texts.end(), name) == texts.end()) {
            return false;
        }
        if (!open_.empty() && open_.back().name == "dict") {
            if (open_.back().wantsKey != (name == "key")) {
                return false;
            }
            open_.back().wantsKey = name != "key";
        }
        emptyRoot_ = open_.empty() && empty;
        if (isContainer && !empty) {
            if (open_.size() == deepestNesting) {
                return false;
            }
            open_.push_back({name, name == "dict"});
        }
        position_ += tag.size() + 2;
        return isContainer || empty || text(name);
    }

    /// The text of an element, with comments and marked sections, and its closing tag.
    bool text(std::string_view name) {
        for (;;) {
            const auto next = std::min(xml_.find('<', position_), xml_.size());
            if (!entitiesAreWhole(next)) {
                return false;
            }
            position_ = next;
            if (rest().starts_with("<!--")) {
                if (!skipBehind("-->", position_ + 4)) {
                    return false;
                }
            } else if (rest().starts_with("<![CDATA[")) {
                if (!skipBehind("]]>", position_)) {
                    return false;
                }
            } else {
                const std::string_view tag = nextTag();
                if (!tag.starts_with('/') || nameOf(tag).substr(1) != name) {
                    return false;
                }
                position_ += tag.size() + 2;
                return true;
            }
        }
    }

    /// Checks the entities up to `end`, and stops at one that is none.
    bool entitiesAreWhole(std::size_t end) {
        static constexpr std::array<std::string_view, 5> known = {"amp", "lt", "gt", "quot", "apos"};
        for (auto start = xml_.find('&', position_); start < end; start = xml_.find('&', start + 1)) {
            const auto semicolon = std::min(xml_.find(';', start), end);
            const std::string_view name = xml_.substr(start + 1, semicolon - start - 1);
            if (semicolon == end ||
                (!name.starts_with('#') && std::find(known.begin(), known.end(), name) == known.end())) {
                position_ = start;
                return false;
            }
        }
        return true;
    }

    /// What follows the outermost value. The library does not read on, unless that value was an empty element.
    bool end() {
        if (!emptyRoot_) {
            const bool ended = !wrapped_ || xml_.find("</plist>", position_) != std::string_view::npos;
            position_ = ended ? position_ : xml_.size();
            return ended;
        }
        constexpr std::string_view closing = "</plist>";
        if (!skipBetween() || (wrapped_ && !rest().starts_with(closing))) {
            return false;
        }
        position_ += wrapped_ ? closing.size() : 0;
        return skipBetween() && rest().empty();
    }

    std::string_view xml_;
    std::size_t position_ = 0;
    std::vector<Container> open_;
    bool wrapped_ = false;   // in <plist>
    bool emptyRoot_ = false; // the outermost value is <array/> or the like
};

/// The line, by its beginning, that is no UTF-8 or holds a NUL.
std::optional<std::size_t> faultOfText(std::string_view text) {
    for (std::size_t begin = 0; begin < text.size();) {
        const auto end = std::min(text.find('\n', begin), text.size());
        const std::string_view line = text.substr(begin, end - begin);
        if (!isValidUTF8(line) || line.find('\0') != std::string_view::npos) {
            return begin;
        }
        begin = end + 1;
    }
    return std::nullopt;
}

} // namespace

std::optional<std::size_t> faultOfXMLPropertyList(std::string_view xml) {
    const auto ofElements = Scanner(xml).fault();
    const auto ofText = faultOfText(xml.substr(0, ofElements.value_or(xml.size())));
    return ofText ? ofText : ofElements;
}

std::string PropertyList::damage(std::string_view bytes) {
    if (bytes.starts_with("bplist")) {
        return {};
    }
    const std::string xml = utf8Text(bytes);
    const auto fault = faultOfXMLPropertyList(xml);
    if (!fault) {
        return {};
    }
    const auto end = xml.begin() + static_cast<std::ptrdiff_t>(*fault);
    return "line " + std::to_string(1 + std::count(xml.begin(), end, '\n'));
}

} // namespace kestrav::platform
