#include "platform/macos/CFValue.h"

#include "platform/posix/PropertyListBudget.h"
#include "platform/posix/XMLPropertyList.h"
#include "platform/text.h"

#include <array>
#include <limits>

#include <sys/param.h>

namespace kestrav::platform {

namespace {

/// The order of a number and an integer.
CFComparisonResult compare(CFNumberRef number, std::int64_t integer) {
    const CFHandle other(CFNumberCreate(kCFAllocatorDefault, kCFNumberSInt64Type, &integer));
    return CFNumberCompare(number, other.get(), nullptr);
}

/// An integer out of range becomes the nearest one in it, because the platform would cut off its upper bits.
PropertyList numberValue(CFNumberRef number) {
    if (CFNumberIsFloatType(number) != 0) {
        double real = 0;
        CFNumberGetValue(number, kCFNumberDoubleType, &real);
        return real;
    }
    using Limits = std::numeric_limits<std::int64_t>;
    if (compare(number, Limits::max()) == kCFCompareGreaterThan) {
        return Limits::max();
    }
    if (compare(number, Limits::min()) == kCFCompareLessThan) {
        return Limits::min();
    }
    std::int64_t integer = 0;
    CFNumberGetValue(number, kCFNumberSInt64Type, &integer);
    return integer;
}

PropertyList dataValue(CFDataRef data) {
    const UInt8 *bytes = CFDataGetBytePtr(data);
    return PropertyList::Data{std::vector<std::uint8_t>(bytes, bytes + CFDataGetLength(data))};
}

/// Copies a value with everything in it. The same object may be in many places, and is copied to each.
class Copying {
public:
    explicit Copying(std::uint64_t bytes) : budget_(bytes) {}

    /// Empty if a property list cannot hold the value, or if it is too large.
    [[nodiscard]] std::optional<PropertyList> run(CFTypeRef value) {
        auto copy = copyOf(value);
        return budget_.isSpent() ? std::nullopt : std::move(copy);
    }

private:
    std::optional<PropertyList> copyOf(CFTypeRef value) {
        if (value == nullptr || !budget_.spend(PropertyListBudget::valueSize)) {
            return std::nullopt;
        }
        const CFTypeID type = CFGetTypeID(value);
        if (type == CFStringGetTypeID()) {
            const auto *string = static_cast<CFStringRef>(value);
            return spendUnits(CFStringGetLength(string), 3) ? std::optional<PropertyList>(textOf(string))
                                                            : std::nullopt;
        }
        if (type == CFBooleanGetTypeID()) {
            return CFBooleanGetValue(static_cast<CFBooleanRef>(value)) != 0;
        }
        if (type == CFNumberGetTypeID()) {
            return numberValue(static_cast<CFNumberRef>(value));
        }
        if (type == CFDataGetTypeID()) {
            const auto *data = static_cast<CFDataRef>(value);
            return spendUnits(CFDataGetLength(data), 1) ? std::optional(dataValue(data)) : std::nullopt;
        }
        if (type == CFDateGetTypeID()) {
            return PropertyList::Date{CFDateGetAbsoluteTime(static_cast<CFDateRef>(value))};
        }
        return collectionOf(value, type);
    }

    std::optional<PropertyList> collectionOf(CFTypeRef value, CFTypeID type) {
        const bool isArray = type == CFArrayGetTypeID();
        if ((!isArray && type != CFDictionaryGetTypeID()) || depth_ == deepestNesting) {
            return std::nullopt;
        }
        ++depth_;
        PropertyList copy =
            isArray ? arrayOf(static_cast<CFArrayRef>(value)) : dictionaryOf(static_cast<CFDictionaryRef>(value));
        --depth_;
        return copy;
    }

    PropertyList arrayOf(CFArrayRef array) {
        PropertyList::Array values;
        for (CFIndex index = 0; index < CFArrayGetCount(array); ++index) {
            if (auto value = copyOf(CFArrayGetValueAtIndex(array, index))) {
                values.push_back(*std::move(value));
            }
        }
        return values;
    }

    PropertyList dictionaryOf(CFDictionaryRef dictionary) {
        struct Context {
            Copying &copying;
            PropertyList::Dictionary values;
        } context{*this, {}};
        CFDictionaryApplyFunction(
            dictionary,
            [](const void *key, const void *value, void *pointer) {
                auto &[copying, values] = *static_cast<Context *>(pointer);
                const auto name = copying.copyOf(key);
                const auto *text = name ? name->as<std::string>() : nullptr;
                auto copy = text != nullptr ? copying.copyOf(value) : std::nullopt;
                if (copy) {
                    values.insert_or_assign(*text, *std::move(copy));
                }
            },
            &context);
        return std::move(context.values);
    }

    [[nodiscard]] bool spendUnits(CFIndex count, std::uint64_t bytesPerUnit) {
        return budget_.spend(static_cast<std::uint64_t>(count) * bytesPerUnit);
    }

    PropertyListBudget budget_;
    std::size_t depth_ = 0;
};

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

std::optional<PropertyList> propertyListOf(CFTypeRef value, std::size_t bytes) {
    return Copying(bytes).run(value);
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
    return format != kCFPropertyListOpenStepFormat ? propertyListOf(list.get(), bytes.size()) : std::nullopt;
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
