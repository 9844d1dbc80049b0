#include "mac_installer/bootstrap/archiveSize.h"

#include "mac_installer/archive/GzipTrailer.h"
#include "mac_installer/launcher/InfoPlist.h"

#include <algorithm>
#include <limits>

namespace kestrav {

std::optional<std::int32_t> configuredSize() {
    constexpr std::int64_t largest = std::numeric_limits<std::int32_t>::max();
    const auto size = integerValue(infoDictionary(), "ksv.jreUncompressedSize");
    return size ? std::optional(static_cast<std::int32_t>(std::clamp<std::int64_t>(*size, 0, largest))) : std::nullopt;
}

std::optional<std::int32_t> expectedSize(const std::string &archive) {
    const auto size = configuredSize();
    return size ? size : uncompressedSizeOf(archive);
}

} // namespace kestrav
