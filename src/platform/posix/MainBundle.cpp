#include "platform/Bundle.h"
#include "platform/posix/NeverDestroyed.h"
#include "platform/posix/ownBundlePath.h"
#include "platform/testing.h"

#include <mutex>

namespace kestrav::platform {

namespace {

struct MainBundle {
    std::mutex mutex;
    std::optional<std::string> replacedPath;
    const Bundle *current = nullptr;                 // null: to be opened
    std::vector<std::unique_ptr<const Bundle>> made; // earlier ones too: somebody may still refer to them
};

MainBundle &mainBundleState() {
    static NeverDestroyed<MainBundle> state;
    return state.get();
}

} // namespace

void testing::setMainBundle(const std::optional<std::string> &path) {
    MainBundle &state = mainBundleState();
    const std::scoped_lock lock(state.mutex);
    state.replacedPath = path;
    state.current = nullptr;
}

const Bundle &Bundle::mainBundle() {
    MainBundle &state = mainBundleState();
    const std::scoped_lock lock(state.mutex);
    if (state.current == nullptr) {
        const std::string path = state.replacedPath ? *state.replacedPath : ownBundlePath();
        auto bundle = create(path);
        if (!bundle) {
            bundle = std::unique_ptr<Bundle>(new Bundle(path, {})); // removed while it runs
        }
        state.made.push_back(std::move(bundle)); // may raise, and then there is none
        state.current = state.made.back().get();
    }
    return *state.current;
}

std::optional<std::string> Bundle::bundleIdentifier() const {
    return info_.stringForKey("CFBundleIdentifier");
}

} // namespace kestrav::platform
