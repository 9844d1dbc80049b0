#include "platform/macos/CFValue.h"

#include "platform/posix/XMLPropertyList.h"
#include "platform/text.h"

#include <array>
#include <limits>

#include <sys/param.h>

namespace kestrav::platform {

namespace {

PropertyList numberValue(CFNumberRef number) {
    double real = 0;
    if (CFNumberIsFloatType(number) != 0) {
        CFNumberGetValue(number, kCFNumberDoubleType, &real);
        return real;
    }
    std::int64_t integer = 0;
    if (CFNumberGetValue(number, kCFNumberSInt64Type, &integer) != 0) {
        return integer;
    }
    // Out of range: use the nearest value.
    CFNumberGetValue(number, kCFNumberDoubleType, &real);
    return real < 0 ? std::numeric_limits<std::int64_t>::min() : std::numeric_limits<std::int64_t>::max();
}

PropertyList dataValue(CFDataRef data) {
    const UInt8 *bytes = CFDataGetBytePtr(data);
    return PropertyList::Data{std::vector<std::uint8_t>(bytes, bytes + CFDataGetLength(data))};
}

PropertyList arrayValue(CFArrayRef array) {
    PropertyList::Array values;
    for (CFIndex index = 0; index < CFArrayGetCount(array); ++index) {
        if (auto value = propertyListOf(CFArrayGetValueAtIndex(array, index))) {
            values.push_back(*std::move(value));
        }
    }
    return values;
}

PropertyList dictionaryValue(CFDictionaryRef dictionary) {
    PropertyList::Dictionary values;
    CFDictionaryApplyFunction(
        dictionary,
        [](const void *key, const void *value, void *context) {
            auto converted = propertyListOf(value);
            if (converted && CFGetTypeID(key) == CFStringGetTypeID()) {
                static_cast<PropertyList::Dictionary *>(context)->insert_or_assign(
                    textOf(static_cast<CFStringRef>(key)), *std::move(converted));
            }
        },
        &values);
    return values;
}

CFTypeRef newNumber(CFNumberType type, const void *value) {
    return CFNumberCreate(kCFAllocatorDefault, type, value);
}

CFTypeRef newArray(const PropertyList::Array &values) {
    CFHandle array(CFArrayCreateMutable(kCFAllocatorDefault, 0, &kCFTypeArrayCallBacks));
    for (const PropertyList &value : values) {
        CFArrayAppendValue(array.get(), cfValue(value).get());
    }
    return array.release();
}

CFTypeRef newDictionary(const PropertyList::Dictionary &values) {
    CFHandle dictionary(CFDictionaryCreateMutable(kCFAllocatorDefault, 0, &kCFTypeDictionaryKeyCallBacks,
                                                  &kCFTypeDictionaryValueCallBacks));
    for (const auto &[key, value] : values) {
        CFDictionarySetValue(dictionary.get(), cfText(key).get(), cfValue(value).get());
    }
    return dictionary.release();
}

CFTypeRef newValue(const PropertyList &list) {
    if (const auto *boolean = list.as<bool>()) {
        return CFRetain(*boolean ? kCFBooleanTrue : kCFBooleanFalse);
    }
    if (const auto *integer = list.as<std::int64_t>()) {
        return newNumber(kCFNumberSInt64Type, integer);
    }
    if (const auto *number = list.as<double>()) {
        return newNumber(kCFNumberDoubleType, number);
    }
    if (const auto *text = list.as<std::string>()) {
        return cfText(*text).release();
    }
    if (const auto *data = list.as<PropertyList::Data>()) {
        return CFDataCreate(kCFAllocatorDefault, data->bytes.data(), static_cast<CFIndex>(data->bytes.size()));
    }
    if (const auto *date = list.as<PropertyList::Date>()) {
        return CFDateCreate(kCFAllocatorDefault, date->secondsSinceReference);
    }
    if (const auto *array = list.as<PropertyList::Array>()) {
        return newArray(*array);
    }
    return newDictionary(*list.as<PropertyList::Dictionary>());
}

} // namespace

CFHandle<CFStringRef> cfText(std::string_view text) {
    const std::u16string units = utf16(text);
    return CFHandle(CFStringCreateWithCharacters(kCFAllocatorDefault, reinterpret_cast<const UniChar *>(units.data()),
                                                 static_cast<CFIndex>(units.size())));
}

std::string textOf(CFStringRef string) {
    if (string == nullptr) {
        return {};
    }
    const CFIndex length = CFStringGetLength(string);
    std::u16string units(static_cast<std::size_t>(length), u'\0');
    CFStringGetCharacters(string, CFRangeMake(0, length), reinterpret_cast<UniChar *>(units.data()));
    return utf8(units);
}

std::string pathOf(CFURLRef url) {
    std::array<UInt8, MAXPATHLEN> bytes{};
    const Boolean fits = CFURLGetFileSystemRepresentation(url, true, bytes.data(), static_cast<CFIndex>(bytes.size()));
    return fits != 0 ? std::string(reinterpret_cast<const char *>(bytes.data())) : std::string();
}

std::optional<PropertyList> propertyListOf(CFTypeRef value) {
    if (value == nullptr) {
        return std::nullopt;
    }
    const CFTypeID type = CFGetTypeID(value);
    if (type == CFStringGetTypeID()) {
        return textOf(static_cast<CFStringRef>(value));
    }
    if (type == CFBooleanGetTypeID()) {
        return CFBooleanGetValue(static_cast<CFBooleanRef>(value)) != 0;
    }
    if (type == CFNumberGetTypeID()) {
        return numberValue(static_cast<CFNumberRef>(value));
    }
    if (type == CFDictionaryGetTypeID()) {
        return dictionaryValue(static_cast<CFDictionaryRef>(value));
    }
    if (type == CFArrayGetTypeID()) {
        return arrayValue(static_cast<CFArrayRef>(value));
    }
    if (type == CFDataGetTypeID()) {
        return dataValue(static_cast<CFDataRef>(value));
    }
    if (type == CFDateGetTypeID()) {
        return PropertyList::Date{CFDateGetAbsoluteTime(static_cast<CFDateRef>(value))};
    }
    return std::nullopt;
}

CFHandle<CFTypeRef> cfValue(const PropertyList &list) {
    return CFHandle(newValue(list));
}

std::optional<PropertyList> PropertyList::parse(std::string_view bytes) {
    // The platform reads nested elements with nested calls, which could exceed the stack.
    if (!bytes.starts_with("bplist") && readXMLPropertyList(utf8Text(bytes)).fault) {
        return std::nullopt;
    }
    const CFHandle data(CFDataCreate(kCFAllocatorDefault, reinterpret_cast<const UInt8 *>(bytes.data()),
                                     static_cast<CFIndex>(bytes.size())));
    CFPropertyListFormat format = kCFPropertyListXMLFormat_v1_0;
    const CFHandle list(
        CFPropertyListCreateWithData(kCFAllocatorDefault, data.get(), kCFPropertyListImmutable, &format, nullptr));
    // The platform would also read any short text as a list in its oldest format.
    return format != kCFPropertyListOpenStepFormat ? propertyListOf(list.get()) : std::nullopt;
}

std::string PropertyList::serialize() const {
    const CFHandle data(
        CFPropertyListCreateData(kCFAllocatorDefault, cfValue(*this).get(), kCFPropertyListXMLFormat_v1_0, 0, nullptr));
    if (!data) {
        return {};
    }
    return {reinterpret_cast<const char *>(CFDataGetBytePtr(data.get())),
            static_cast<std::size_t>(CFDataGetLength(data.get()))};
}

} // namespace kestrav::platform
