#include "platform/posix/XMLPropertyList.h"

#include "platform/posix/XMLPropertyListValue.h"
#include "platform/posix/unicode.h"
#include "platform/text.h"

#include <algorithm>
#include <array>
#include <string>
#include <utility>
#include <vector>

namespace kestrav::platform {

namespace {

constexpr std::string_view blanks = " \t\r\n";

/// Reads the list element by element. Anything that it does not understand is a fault.
class Reader {
public:
    explicit Reader(std::string_view xml) : xml_(xml) {}

    [[nodiscard]] XMLReading run() {
        const bool whole = readPrologue() && readOutermostValue() && readEnd();
        return {std::move(root_), whole ? std::nullopt : std::optional(std::min(position_, xml_.size()))};
    }

private:
    struct Container {
        std::string_view name;
        bool wantsKey = false;
        PropertyList list;
        std::string key = {}; ///< that the next value belongs to
    };

    [[nodiscard]] std::string_view rest() const { return xml_.substr(std::min(position_, xml_.size())); }

    /// Moves past the next `text`; returns false and stays where it is if there is none.
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

    /// Skips white space, comments, instructions and the document type; false if one of them is damaged.
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

    bool readPrologue() {
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

    /// What stands between "<" and ">" at this position; empty if there is no complete tag.
    [[nodiscard]] std::string_view nextTag() const {
        const auto end = rest().find('>');
        if (!rest().starts_with('<') || end == std::string_view::npos) {
            return {};
        }
        const std::string_view tag = rest().substr(1, end - 1);
        const bool clear = tag.find('<') == std::string_view::npos && std::count(tag.begin(), tag.end(), '"') % 2 == 0;
        return clear ? tag : std::string_view();
    }

    /// The name in a tag; that of a closing tag includes its "/".
    static std::string_view nameOf(std::string_view tag) {
        return tag.substr(0, std::min(tag.find_first_of(" \t\r\n/", 1), tag.size()));
    }

    /// Reads the outermost value with everything in it.
    bool readOutermostValue() {
        do {
            if (!skipBetween()) {
                return false;
            }
            const std::string_view tag = nextTag();
            if (!(tag.starts_with('/') ? readClosingTag(tag) : readElement(tag))) {
                return false;
            }
        } while (!open_.empty());
        return true;
    }

    bool readClosingTag(std::string_view tag) {
        if (open_.empty() || nameOf(tag).substr(1) != open_.back().name) {
            return false;
        }
        PropertyList list = std::move(open_.back().list);
        open_.pop_back();
        addValue(std::move(list));
        position_ += tag.size() + 2;
        return true;
    }

    /// Adds a value to the innermost open container, or makes it the outermost value.
    void addValue(PropertyList value) {
        if (open_.empty()) {
            root_ = std::move(value);
        } else if (auto *array = open_.back().list.as<PropertyList::Array>()) {
            array->push_back(std::move(value));
        } else {
            auto &dictionary = *open_.back().list.as<PropertyList::Dictionary>();
            dictionary.insert_or_assign(std::move(open_.back().key), std::move(value));
        }
    }

    bool readElement(std::string_view tag) {
        static constexpr std::array<std::string_view, 8> simpleElements = {"string", "key",  "integer", "real",
                                                                           "date",   "data", "true",    "false"};
        const std::string_view name = nameOf(tag);
        const bool empty = tag.ends_with('/');
        const bool isContainer = name == "array" || name == "dict";
        if (!isContainer && std::find(simpleElements.begin(), simpleElements.end(), name) == simpleElements.end()) {
            return false;
        }
        if (!open_.empty() && open_.back().name == "dict") {
            if (open_.back().wantsKey != (name == "key")) {
                return false;
            }
            open_.back().wantsKey = name != "key";
        }
        emptyRoot_ = open_.empty() && empty;
        position_ += tag.size() + 2;
        return isContainer ? readContainer(name, empty) : readSimpleElement(name, empty);
    }

    /// Reads an array or a dictionary. Called after its opening tag.
    bool readContainer(std::string_view name, bool empty) {
        const bool isDictionary = name == "dict";
        PropertyList list =
            isDictionary ? PropertyList(PropertyList::Dictionary()) : PropertyList(PropertyList::Array());
        if (empty) {
            addValue(std::move(list));
        } else if (open_.size() < deepestNesting) {
            open_.push_back({name, isDictionary, std::move(list)});
        } else {
            return false;
        }
        return true;
    }

    /// Reads a key or a value that is not a container. Called after its opening tag.
    bool readSimpleElement(std::string_view name, bool empty) {
        std::string content;
        if (!empty && !readText(name, content)) {
            return false;
        }
        if (name == "key" && !open_.empty() && open_.back().name == "dict") {
            open_.back().key = std::move(content);
        } else {
            addValue(valueOfElement(name, std::move(content)));
        }
        return true;
    }

    /// Reads the text of an element, which may have comments and marked sections, and its closing tag.
    bool readText(std::string_view name, std::string &content) {
        for (;;) {
            if (!readCharacters(std::min(xml_.find('<', position_), xml_.size()), content)) {
                return false;
            }
            if (rest().starts_with("<!--")) {
                if (!skipBehind("-->", position_ + 4)) {
                    return false;
                }
            } else if (rest().starts_with("<![CDATA[")) {
                const auto begin = position_ + std::string_view("<![CDATA[").size();
                if (!skipBehind("]]>", begin)) {
                    return false;
                }
                content += xml_.substr(begin, position_ - begin - std::string_view("]]>").size());
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

    /// Appends the text up to `end`; stops at an unknown entity.
    bool readCharacters(std::size_t end, std::string &content) {
        const std::string_view before = xml_.substr(0, end);
        for (;;) {
            const auto ampersand = std::min(before.find('&', position_), end);
            content += before.substr(position_, ampersand - position_);
            position_ = ampersand;
            if (ampersand == end) {
                return true;
            }
            const auto semicolon = before.find(';', ampersand);
            const auto character = semicolon == std::string_view::npos
                                       ? std::nullopt
                                       : characterOfEntity(before.substr(ampersand + 1, semicolon - ampersand - 1));
            if (!character) {
                return false;
            }
            appendCharacter(content, *character);
            position_ = semicolon + 1;
        }
    }

    /// Reads what follows the outermost value. It has to be well-formed only after an empty element.
    bool readEnd() {
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
    PropertyList root_;
    std::vector<Container> open_;
    bool wrapped_ = false;   // in <plist>
    bool emptyRoot_ = false; // the outermost value is <array/> or the like
};

} // namespace

XMLReading readXMLPropertyList(std::string_view xml) {
    XMLReading reading = Reader(xml).run();
    const auto textFault = offsetOfInvalidText(xml.substr(0, reading.fault.value_or(xml.size())));
    reading.fault = textFault ? textFault : reading.fault;
    return reading;
}

std::string PropertyList::damage(std::string_view bytes) {
    if (bytes.starts_with("bplist")) {
        return {};
    }
    const std::string xml = utf8Text(bytes);
    const auto fault = readXMLPropertyList(xml).fault;
    if (!fault) {
        return {};
    }
    const auto end = xml.begin() + static_cast<std::ptrdiff_t>(*fault);
    return "line " + std::to_string(1 + std::count(xml.begin(), end, '\n'));
}

} // namespace kestrav::platform
