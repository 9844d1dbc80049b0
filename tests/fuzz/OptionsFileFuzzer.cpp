// A fuzzer for options files: whatever they hold and however they include one another, reading ends.
// The input is up to four files, separated by lines "==": the first is read, and named 0; the others are 1, 2 and 3.

#include "mac_installer/launcher/Launcher.h"
#include "platform/testing.h"
#include "support/TemporaryDirectory.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    if (size > 600) { // each file may include the next one many times
        return 0;
    }
    static const kestrav::tests::TemporaryDirectory directory;
    static const kestrav::Launcher launcher = [] {
        kestrav::platform::testing::replacements().logSink = [](std::string_view) {};
        kestrav::platform::testing::replacements().mainBundle =
            kestrav::platform::Bundle::create(directory.makeDirectory("Tool.app"));
        kestrav::platform::testing::setEnvironment({{"HOME", directory.path()}, {"INCLUDE", "-include-options 1"}});
        kestrav::platform::testing::replacements().debugLog = true;
        return kestrav::Launcher();
    }();
    constexpr std::string_view separator = "\n==\n";
    std::string_view rest(reinterpret_cast<const char *>(data), size);
    for (char name = '0'; name < '4'; ++name) {
        const std::string_view part = rest.substr(0, rest.find(separator));
        rest.remove_prefix(std::min(rest.size(), part.size() + separator.size()));
        directory.write({&name, 1}, part);
    }
    std::vector<std::string> options;
    const auto classPath = launcher.readOptionsFile(directory / "0", options, "start", directory / "Tool.app");
    // An options file can set the class path, but never take it away, and an option is what stands on a line.
    const auto isTorn = [](const std::string &option) { return option.find_first_of("\r\n") != std::string::npos; };
    if (!classPath || std::any_of(options.begin(), options.end(), isTorn)) {
        std::abort();
    }
    return 0;
}
