#include "platform/PropertyList.h"

#include "platform/linux/BinaryPropertyList.h"
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

constexpr std::string_view binaryMark = "bplist00";

std::string xmlOf(plist_t node) {
    char *xml = nullptr;
    std::uint32_t size = 0;
    plist_to_xml(node, &xml, &size);
    const Memory<char> owner(xml);
    return xml != nullptr ? std::string(xml, size) : std::string();
}

/// Strings may hold any character, but XML must not.
std::string validText(std::string_view bytes) {
    return isValidUTF8(bytes) ? std::string(bytes) : utf8(utf16(bytes));
}

/// Throws if there is not enough memory for a list of `size` bytes, because libplist would then crash.
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
    // The library can make negative numbers only from text.
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
    // Our own readers refuse lists that are nested too deeply or repeat themselves too often, which the library would
    // follow.
    if (bytes.size() > std::numeric_limits<std::int32_t>::max() || !PropertyList::parse(bytes)) {
        return {};
    }
    requireMemory(bytes.size());
    plist_t root = nullptr;
    if (bytes.starts_with(binaryMark)) {
        plist_from_bin(bytes.data(), static_cast<std::uint32_t>(bytes.size()), &root);
    } else {
        const std::string xml = utf8Text(bytes);
        plist_from_xml(xml.data(), static_cast<std::uint32_t>(xml.size()), &root);
    }
    return Node(root);
}

std::optional<PropertyList> PropertyList::parse(std::string_view bytes) {
    if (bytes.starts_with(binaryMark)) {
        return readBinaryPropertyList(bytes);
    }
    XMLReading reading = readXMLPropertyList(utf8Text(bytes));
    return reading.fault ? std::nullopt : std::optional(std::move(reading.value));
}

std::string PropertyList::serialize() const {
    return xmlOf(toNode(*this).get());
}

} // namespace kestrav::platform
