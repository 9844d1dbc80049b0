// A fuzzer for string tables: whatever bytes they hold, reading them ends.

#include "platform/linux/StringTable.h"

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    (void)kestrav::platform::parseStringTable({reinterpret_cast<const char *>(data), size});
    return 0;
}
