#include "mac_installer/launcher/archiveSize.h"

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

NeededRoom roomFor(std::optional<std::int64_t> size) {
    constexpr std::int64_t roomForMostRuntimes = 512'000'000;
    return {size.value_or(roomForMostRuntimes), size.value_or(usualSize)};
}

std::optional<std::int64_t> configuredSizeWithArchive() {
    const auto size = configuredSize();
    // An archive is hardly ever larger than half of what it holds.
    return size ? std::optional(std::int64_t{*size} + *size / 2) : std::nullopt;
}

} // namespace kestrav
