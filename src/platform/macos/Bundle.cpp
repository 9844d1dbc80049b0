#include "platform/Bundle.h"

#include "platform/FileManager.h"
#include "platform/macos/CFValue.h"
#include "platform/path.h"

namespace kestrav::platform {

namespace {

using BundleHandle = CFHandle<CFBundleRef>;

/// Null if the path does not lead to a directory. If the platform already has an object for the path, it returns that
/// one, which describes the bundle as it was when it was first opened.
BundleHandle openBundle(const std::string &path) {
    if (!directoryExistsAtPath(path)) {
        return {};
    }
    const CFHandle url(CFURLCreateFromFileSystemRepresentation(
        kCFAllocatorDefault, reinterpret_cast<const UInt8 *>(path.data()), static_cast<CFIndex>(path.size()), true));
    return url ? BundleHandle(CFBundleCreate(kCFAllocatorDefault, url.get())) : BundleHandle();
}

PropertyList informationOf(CFBundleRef bundle) {
    auto information = propertyListOf(bundle != nullptr ? CFBundleGetInfoDictionary(bundle) : nullptr);
    return information ? *std::move(information) : PropertyList();
}

} // namespace

std::string Bundle::ownPath() {
    CFBundleRef bundle = CFBundleGetMainBundle(); // not ours to release
    const CFHandle url(bundle != nullptr ? CFBundleCopyBundleURL(bundle) : nullptr);
    return url ? pathOf(url.get()) : "/";
}

std::unique_ptr<Bundle> Bundle::create(const std::string &path) {
    const BundleHandle bundle = openBundle(path);
    if (!bundle) {
        return nullptr;
    }
    return create(std::string(withoutTrailingSlashes(path)), informationOf(bundle.get()), std::nullopt);
}

std::string Bundle::resourcePath() const {
    const BundleHandle bundle = openBundle(path_);
    const CFHandle url(bundle ? CFBundleCopyResourcesDirectoryURL(bundle.get()) : nullptr);
    return url ? std::string(withoutTrailingSlashes(pathOf(url.get()))) : path_;
}

std::optional<std::string> Bundle::pathForResource(std::string_view name, std::string_view extension) const {
    const BundleHandle bundle = openBundle(path_);
    const CFHandle<CFStringRef> type = extension.empty() ? CFHandle<CFStringRef>() : cfText(extension);
    const CFHandle url(bundle ? CFBundleCopyResourceURL(bundle.get(), cfText(name).get(), type.get(), nullptr)
                              : nullptr);
    return url ? std::optional(pathOf(url.get())) : std::nullopt;
}

std::string Bundle::localizedStringForKey(std::string_view key, std::string_view value) const {
    const BundleHandle bundle = openBundle(path_);
    const CFHandle text(
        bundle ? CFBundleCopyLocalizedString(bundle.get(), cfText(key).get(), cfText(value).get(), nullptr) : nullptr);
    if (text && CFGetTypeID(text.get()) == CFStringGetTypeID()) { // the table may hold a value of any type
        return textOf(text.get());
    }
    return std::string(value.empty() ? key : value);
}

std::optional<std::string> Bundle::localizedInfoStringForKey(std::string_view key) const {
    const BundleHandle bundle = openBundle(path_);
    const CFTypeRef value = // not ours to release
        bundle ? CFBundleGetValueForInfoDictionaryKey(bundle.get(), cfText(key).get()) : nullptr;
    const auto copy = propertyListOf(value);
    const auto *text = copy ? copy->as<std::string>() : nullptr;
    return text != nullptr ? std::optional(*text) : std::nullopt;
}

std::vector<std::string> Bundle::localizedStringKeys() const {
    const auto path = pathForResource("Localizable", "strings");
    const std::string content = path ? contentsOfFile(*path).value_or("") : "";
    const CFHandle data(CFDataCreate(kCFAllocatorDefault, reinterpret_cast<const UInt8 *>(content.data()),
                                     static_cast<CFIndex>(content.size())));
    CFPropertyListFormat format = kCFPropertyListOpenStepFormat; // the format of string tables as well
    const CFHandle list(
        CFPropertyListCreateWithData(kCFAllocatorDefault, data.get(), kCFPropertyListImmutable, &format, nullptr));
    const auto table = propertyListOf(list.get());
    const auto *entries = table ? table->as<PropertyList::Dictionary>() : nullptr;
    std::vector<std::string> keys;
    for (const auto &[key, text] : entries == nullptr ? PropertyList::Dictionary() : *entries) {
        if (text.as<std::string>() != nullptr) {
            keys.push_back(key);
        }
    }
    return keys;
}

std::optional<std::vector<std::optional<std::int32_t>>> Bundle::executableArchitectures() const {
    const BundleHandle bundle = openBundle(path_);
    const CFHandle list(bundle ? CFBundleCopyExecutableArchitectures(bundle.get()) : nullptr);
    if (!list) {
        return std::nullopt;
    }
    std::vector<std::optional<std::int32_t>> architectures;
    for (CFIndex index = 0; index < CFArrayGetCount(list.get()); ++index) {
        const void *entry = CFArrayGetValueAtIndex(list.get(), index);
        std::int32_t architecture = 0;
        const bool known = CFGetTypeID(entry) == CFNumberGetTypeID() &&
                           CFNumberGetValue(static_cast<CFNumberRef>(entry), kCFNumberSInt32Type, &architecture) != 0;
        architectures.push_back(known ? std::optional(architecture) : std::nullopt);
    }
    return architectures;
}

} // namespace kestrav::platform
