// A fuzzer for the archive reader: whatever an archive holds, the run ends and nothing beside the destination changes.
// The input is a tar archive, or a gzip file if it begins like one.

#include "mac_installer/UnTar.h"
#include "platform/testing.h"
#include "support/ArchiveWriter.h"
#include "support/TemporaryDirectory.h"

#include <cstdint>
#include <cstdlib>
#include <iterator>

namespace {

namespace fs = std::filesystem;

/// Once the destination is gone: a file that names and links in an archive reach as "../canary/file", and no more.
bool canaryIsAlive(const kestrav::tests::TemporaryDirectory &directory) {
    std::ifstream file(directory / "canary/file");
    const std::string content(std::istreambuf_iterator<char>(file), {});
    return content == "alive" && fs::is_regular_file(fs::symlink_status(directory / "canary/file")) &&
           std::distance(fs::directory_iterator(directory / "canary"), {}) == 1 &&
           std::distance(fs::directory_iterator(directory.path()), {}) == 2;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    static const kestrav::tests::TemporaryDirectory directory;
    static const bool ready = [] {
        kestrav::platform::testing::setLogSink([](std::string_view) {});
        directory.write("canary/file", "alive");
        return true;
    }();
    const std::string_view input(reinterpret_cast<const char *>(data), size);
    const bool packed = input.substr(0, 2) == "\x1f\x8b";
    fs::remove(directory / "archive");
    directory.write("archive", packed ? std::string(input) : kestrav::tests::gzip(input));
    const std::string destination = directory.makeDirectory("destination");
    (void)kestrav::UnTar::untar(directory / "archive", destination, 10000);
    fs::remove_all(destination);
    if (!ready || !canaryIsAlive(directory)) {
        std::abort();
    }
    return 0;
}
