// A fuzzer for the user's defaults, and with them for every property list: reading ends; setting a key keeps what else
// the file holds, or leaves a file alone that is none; what was read can be printed, written and read again.

#include "platform/PropertyList.h"
#include "platform/UserDefaults.h"
#include "platform/testing.h"
#include "support/TemporaryDirectory.h"

#include <cstdint>
#include <cstdlib>
#include <iterator>

namespace {

using kestrav::platform::PropertyList;

void require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

/// As text, in which a number that is none equals itself.
std::string written(const std::optional<PropertyList> &list) {
    return list ? list->serialize() : std::string();
}

std::string contentOf(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    static const kestrav::tests::TemporaryDirectory directory;
    static const bool ready = [] {
        using namespace kestrav::platform;
        directory.write("Tool.app/Contents/Info.plist",
                        PropertyList(PropertyList::Dictionary{{"CFBundleIdentifier", "tool"}}).serialize());
        testing::setLogSink([](std::string_view) {});
        testing::setEnvironment({{"XDG_CONFIG_HOME", directory.path()}, {"HOME", directory.path()}});
        testing::setMainBundle(directory / "Tool.app");
        return true;
    }();
    const std::string input(reinterpret_cast<const char *>(data), size);
    const std::string file = directory.write("kestrav/tool.plist", input);
    auto list = PropertyList::parse(input);
    if (list) {
        (void)list->description();
        require(written(PropertyList::parse(list->serialize())) == list->serialize());
    }

    auto &defaults = kestrav::platform::UserDefaults::standardUserDefaults();
    defaults.setObject("set", "key");
    const std::string changed = contentOf(file);
    if (changed != input) {
        auto *dictionary = list ? list->as<PropertyList::Dictionary>() : nullptr;
        require(dictionary != nullptr && defaults.stringForKey("key") == "set");
        dictionary->insert_or_assign("key", "set");
        require(written(PropertyList::parse(changed)) == written(list));
    }
    defaults.setObject("set", "key");
    require(ready && contentOf(file) == changed);
    return 0;
}
