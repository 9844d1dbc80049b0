#include "platform/PropertyList.h"

#include "platform/linux/PropertyListLimits.h"
#include "platform/linux/PropertyListNode.h"
#include "platform/posix/XMLPropertyList.h"
#include "platform/text.h"

#include <plist/plist.h>

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <memory>
#include <new>

namespace kestrav::platform {

namespace {

struct FreeMemory {
    void operator()(void *memory) const { std::free(memory); } // NOLINT(cppcoreguidelines-no-malloc,*-owning-memory)
};
template <class T> using Memory = std::unique_ptr<T, FreeMemory>;

std::string xmlOf(plist_t node) {
    char *xml = nullptr;
    std::uint32_t size = 0;
    plist_to_xml(node, &xml, &size);
    const Memory<char> owner(xml);
    return xml != nullptr ? std::string(xml, size) : std::string();
}

/// Texts of binary lists may hold anything, XML must not.
std::string validText(std::string_view bytes) {
    return isValidUTF8(bytes) ? std::string(bytes) : utf8(utf16(bytes));
}

std::string textOf(const char *text) {
    return text != nullptr ? validText(text) : std::string();
}

PropertyList integerValue(plist_t node) {
    std::uint64_t value = 0;
    plist_get_uint_val(node, &value);
    constexpr auto largest = std::numeric_limits<std::int64_t>::max();
    // The library hands out the bits alone; only its XML tells a negative number from a large one.
    if (value > static_cast<std::uint64_t>(largest) && xmlOf(node).find("<integer>-") == std::string::npos) {
        return largest;
    }
    return static_cast<std::int64_t>(value);
}

PropertyList toPropertyList(plist_t node);

/// What libplist hands out, where it hands out something unless it has no memory for it.
template <class T> T *required(T *memory) {
    return memory != nullptr ? memory : throw std::bad_alloc();
}

PropertyList arrayValue(plist_t node) {
    PropertyList::Array array;
    array.reserve(plist_array_get_size(node));
    plist_array_iter position = nullptr;
    plist_array_new_iter(node, &position);
    const Memory<void> owner(required(position));
    plist_t element = nullptr;
    for (plist_array_next_item(node, position, &element); element != nullptr;
         plist_array_next_item(node, position, &element)) {
        array.push_back(toPropertyList(element));
    }
    return array;
}

PropertyList dictionaryValue(plist_t node) {
    PropertyList::Dictionary dictionary;
    plist_dict_iter position = nullptr;
    plist_dict_new_iter(node, &position);
    const Memory<void> owner(required(position));
    for (;;) {
        char *key = nullptr;
        plist_t value = nullptr;
        plist_dict_next_item(node, position, &key, &value);
        const Memory<char> keyOwner(key);
        if (value == nullptr) {
            return dictionary;
        }
        dictionary.insert_or_assign(textOf(required(key)), toPropertyList(value));
    }
}

PropertyList toPropertyList(plist_t node) {
    switch (plist_get_node_type(node)) {
    case PLIST_BOOLEAN: {
        std::uint8_t value = 0;
        plist_get_bool_val(node, &value);
        return value != 0;
    }
    case PLIST_REAL: {
        double value = 0;
        plist_get_real_val(node, &value);
        return value;
    }
    case PLIST_DATE: {
        std::int32_t seconds = 0;
        std::int32_t microseconds = 0;
        plist_get_date_val(node, &seconds, &microseconds);
        return PropertyList::Date{seconds + microseconds / 1e6};
    }
    case PLIST_DATA: {
        char *bytes = nullptr;
        std::uint64_t size = 0;
        plist_get_data_val(node, &bytes, &size);
        const Memory<char> owner(bytes);
        return PropertyList::Data{bytes != nullptr ? std::vector<std::uint8_t>(bytes, bytes + size)
                                                   : std::vector<std::uint8_t>()};
    }
    case PLIST_KEY: {
        char *text = nullptr;
        plist_get_key_val(node, &text);
        return textOf(required(Memory<char>(text).get()));
    }
    case PLIST_UINT:
        return integerValue(node);
    case PLIST_STRING:
        return textOf(plist_get_string_ptr(node, nullptr));
    case PLIST_ARRAY:
        return arrayValue(node);
    case PLIST_DICT:
        return dictionaryValue(node);
    default:
        return {};
    }
}

/// Raises if there is not even the memory that a list of so many bytes takes up in libplist, which crashes then.
void requireMemory(std::size_t size) {
    constexpr std::size_t perByte = 32; // "<a/>" becomes a node of some hundred bytes
    constexpr std::size_t atLeast = 65536;
    void *volatile probe = std::malloc(atLeast + perByte * size); // NOLINT(*-no-malloc,*-owning-memory)
    if (probe == nullptr) {
        throw std::bad_alloc();
    }
    std::free(probe); // NOLINT(*-no-malloc,*-owning-memory)
}

Node toNode(const PropertyList &list);

Node integerNode(std::int64_t value) {
    if (value >= 0) {
        return Node(plist_new_uint(static_cast<std::uint64_t>(value)));
    }
    // The library makes negative numbers from their text alone.
    const std::string xml = "<plist><integer>" + std::to_string(value) + "</integer></plist>";
    plist_t node = nullptr;
    plist_from_xml(xml.data(), static_cast<std::uint32_t>(xml.size()), &node);
    return Node(node);
}

Node dateNode(PropertyList::Date date) {
    const double seconds = std::min(2147483647.0, std::max(-2147483648.0, date.secondsSinceReference));
    return Node(plist_new_date(static_cast<std::int32_t>(seconds), 0));
}

Node dataNode(const PropertyList::Data &data) {
    return Node(plist_new_data(reinterpret_cast<const char *>(data.bytes.data()), data.bytes.size()));
}

Node arrayNode(const PropertyList::Array &array) {
    Node node(plist_new_array());
    for (const PropertyList &element : array) {
        plist_array_append_item(node.get(), toNode(element).release());
    }
    return node;
}

Node dictionaryNode(const PropertyList::Dictionary &dictionary) {
    Node node(plist_new_dict());
    for (const auto &[key, value] : dictionary) {
        plist_dict_set_item(node.get(), validText(key).c_str(), toNode(value).release());
    }
    return node;
}

Node toNode(const PropertyList &list) {
    if (const auto *boolean = list.as<bool>()) {
        return Node(plist_new_bool(static_cast<std::uint8_t>(*boolean)));
    }
    if (const auto *integer = list.as<std::int64_t>()) {
        return integerNode(*integer);
    }
    if (const auto *number = list.as<double>()) {
        return Node(plist_new_real(*number));
    }
    if (const auto *text = list.as<std::string>()) {
        return Node(plist_new_string(validText(*text).c_str()));
    }
    if (const auto *data = list.as<PropertyList::Data>()) {
        return dataNode(*data);
    }
    if (const auto *date = list.as<PropertyList::Date>()) {
        return dateNode(*date);
    }
    if (const auto *array = list.as<PropertyList::Array>()) {
        return arrayNode(*array);
    }
    return dictionaryNode(*list.as<PropertyList::Dictionary>());
}

} // namespace

Node nodeOf(std::string_view bytes) {
    if (bytes.size() > std::numeric_limits<std::int32_t>::max()) {
        return {};
    }
    requireMemory(bytes.size());
    plist_t root = nullptr;
    if (bytes.starts_with("bplist00")) {
        if (binaryPropertyListIsAcceptable(bytes)) {
            plist_from_bin(bytes.data(), static_cast<std::uint32_t>(bytes.size()), &root);
        }
    } else if (const std::string xml = utf8Text(bytes); !faultOfXMLPropertyList(xml)) {
        plist_from_xml(xml.data(), static_cast<std::uint32_t>(xml.size()), &root);
    }
    return Node(root);
}

std::optional<PropertyList> PropertyList::parse(std::string_view bytes) {
    const Node root = nodeOf(bytes);
    return root ? std::optional(toPropertyList(root.get())) : std::nullopt;
}

std::string PropertyList::serialize() const {
    return xmlOf(toNode(*this).get());
}

} // namespace kestrav::platform
