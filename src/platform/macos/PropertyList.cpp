#include "platform/PropertyList.h"

#include "platform/macos/CFPropertyList.h"
#include "platform/posix/XMLPropertyList.h"
#include "platform/text.h"

namespace kestrav::platform {

std::optional<PropertyList> PropertyList::parse(std::string_view bytes) {
    // The platform reads nested elements by nested calls, on whatever stack there is.
    if (!bytes.starts_with("bplist") && readXMLPropertyList(utf8Text(bytes)).fault) {
        return std::nullopt;
    }
    const CFHandle data(CFDataCreate(kCFAllocatorDefault, reinterpret_cast<const UInt8 *>(bytes.data()),
                                     static_cast<CFIndex>(bytes.size())));
    CFPropertyListFormat format = kCFPropertyListXMLFormat_v1_0;
    const CFHandle list(
        CFPropertyListCreateWithData(kCFAllocatorDefault, data.get(), kCFPropertyListImmutable, &format, nullptr));
    // The platform also reads any short text as a list of its oldest format.
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
