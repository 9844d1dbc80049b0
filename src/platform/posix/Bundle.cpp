#include "platform/Bundle.h"

#include "platform/posix/NeverDestroyed.h"
#include "platform/testing.h"

namespace kestrav::platform {

const Bundle &Bundle::mainBundle() {
    if (const auto &replacement = testing::replacements().mainBundle) {
        return *replacement;
    }
    static NeverDestroyed<std::unique_ptr<const Bundle>> bundle([] {
        const std::string path = ownPath();
        auto opened = create(path);
        return opened ? std::move(opened) : std::unique_ptr<Bundle>(new Bundle(path, {})); // removed while it runs
    });
    return *bundle.get();
}

std::optional<std::string> Bundle::bundleIdentifier() const {
    return info_.stringForKey("CFBundleIdentifier");
}

} // namespace kestrav::platform
