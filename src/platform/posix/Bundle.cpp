#include "platform/Bundle.h"

#include "platform/FileManager.h"
#include "platform/path.h"
#include "platform/posix/NeverDestroyed.h"
#include "platform/testing.h"

namespace kestrav::platform {

namespace {

/// The one that was set in place of the process's own.
std::unique_ptr<const Bundle> &otherMainBundle() {
    static NeverDestroyed<std::unique_ptr<const Bundle>> bundle;
    return bundle.get();
}

} // namespace

bool Bundle::setMainBundle(const std::string &path) {
    otherMainBundle() = create(path);
    return otherMainBundle() != nullptr;
}

const Bundle &Bundle::mainBundle() {
    if (const auto &replacement = testing::replacements().mainBundle) {
        return *replacement;
    }
    if (otherMainBundle()) {
        return *otherMainBundle();
    }
    static NeverDestroyed<std::unique_ptr<const Bundle>> bundle([] {
        const std::string path = ownPath();
        auto opened = create(path);
        return opened ? std::move(opened) : create(path, {}, std::nullopt); // the application was removed while it runs
    });
    return *bundle.get();
}

std::optional<std::string> Bundle::infoPlistPath(const std::string &bundlePath) {
    for (const char *place : {"Contents/Info.plist", "Resources/Info.plist", "Info.plist"}) {
        std::string file = appendingPathComponent(bundlePath, place);
        if (fileExistsAtPath(file)) {
            return file;
        }
    }
    return std::nullopt;
}

std::unique_ptr<Bundle> Bundle::create(std::string path, PropertyList info, std::optional<std::string> damage) {
    return std::unique_ptr<Bundle>(new Bundle(std::move(path), std::move(info), std::move(damage)));
}

std::optional<std::string> Bundle::bundleIdentifier() const {
    return info_.stringForKey("CFBundleIdentifier");
}

} // namespace kestrav::platform
