// A fuzzer for argument files: no line that reaches the runtime holds a line feed or a NUL byte, and the file is gone.

#include "mac_installer/LaunchVector.h"
#include "support/TemporaryDirectory.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    using namespace std::string_view_literals;
    static const kestrav::tests::TemporaryDirectory directory;
    const std::string file = directory.write("arguments", {reinterpret_cast<const char *>(data), size});
    const auto lines = kestrav::takeArgumentFile(file);
    const auto isDamaged = [](const std::string &line) { return line.find_first_of("\n\0"sv) != std::string::npos; };
    if (std::any_of(lines.begin(), lines.end(), isDamaged) || std::filesystem::exists(file)) {
        std::abort();
    }
    return 0;
}
