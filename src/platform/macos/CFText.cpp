#include "platform/macos/CFText.h"

#include "platform/text.h"

#include <array>

#include <sys/param.h>

namespace kestrav::platform {

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

} // namespace kestrav::platform
