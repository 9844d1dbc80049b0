// A fuzzer for the archive reader: whatever an archive holds, the run ends and nothing beside the destination changes.
// The input is a tar archive, packed or not.

#include "mac_installer/archive/UnTar.h"
#include "platform/testing.h"
#include "support/TemporaryDirectory.h"

#include <cstdint>
#include <cstdlib>
#include <iterator>

namespace fs = std::filesystem;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    static const kestrav::tests::TemporaryDirectory directory;
    static const std::string canary = [] { // names and links in an archive reach it as "../canary/file"
        kestrav::platform::testing::replacements().logSink = [](std::string_view) {};
        return directory.write("canary/file", "alive");
    }();
    fs::remove(directory / "archive");
    directory.write("archive", {reinterpret_cast<const char *>(data), size});
    const std::string destination = directory.makeDirectory("destination");
    (void)kestrav::UnTar::untar(directory / "archive", destination, 10000);
    fs::remove_all(destination);
    std::ifstream file(canary);
    const std::string content(std::istreambuf_iterator<char>(file), {});
    if (content != "alive" || !fs::is_regular_file(fs::symlink_status(canary)) ||
        std::distance(fs::directory_iterator(directory / "canary"), {}) != 1 ||
        std::distance(fs::directory_iterator(directory.path()), {}) != 2) { // the archive and the canary
        std::abort();
    }
    return 0;
}
