// A fuzzer for string tables and for the user's defaults, and thereby for all property lists. Reading a string table
// ends; setting a key keeps everything else in the file, or leaves a damaged file alone; what was read can be printed,
// written and read again.

#include "platform/FileManager.h"
#include "platform/PropertyList.h"
#include "platform/UserDefaults.h"
#include "platform/linux/StringTable.h"
#include "platform/testing.h"
#include "support/TemporaryDirectory.h"

#include <cstdlib>

using namespace kestrav::platform;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    // Compared as text, in which NaN equals itself.
    const auto written = [](const auto &list) { return list ? list->serialize() : std::string(); };
    static const kestrav::tests::TemporaryDirectory directory;
    static auto &defaults = [&]() -> UserDefaults & {
        directory.write("Tool.app/Contents/Info.plist",
                        PropertyList(PropertyList::Dictionary{{"CFBundleIdentifier", "tool"}}).serialize());
        testing::replacements().logSink = [](std::string_view) {};
        testing::setEnvironment({{"XDG_CONFIG_HOME", directory.path()}, {"HOME", directory.path()}});
        testing::replacements().mainBundle = Bundle::create(directory / "Tool.app");
        return UserDefaults::standardUserDefaults();
    }();
    const std::string input(reinterpret_cast<const char *>(data), size);
    const std::string file = directory.write("kestrav/tool.plist", input);
    (void)parseStringTable(input);
    auto list = PropertyList::parse(input);
    (void)(list ? list->description() : "");
    bool isSound = !list || written(PropertyList::parse(list->serialize())) == list->serialize();

    defaults.setObject("set", "key");
    const auto changed = contentsOfFile(file);
    if (changed != input) {
        auto *dictionary = list ? list->as<PropertyList::Dictionary>() : nullptr;
        isSound = isSound && dictionary != nullptr && defaults.stringForKey("key") == "set";
        if (isSound) {
            dictionary->insert_or_assign("key", "set");
            isSound = written(PropertyList::parse(*changed)) == written(list);
        }
    }
    defaults.setObject("set", "key");
    if (!isSound || contentsOfFile(file) != changed) {
        std::abort();
    }
    return 0;
}
