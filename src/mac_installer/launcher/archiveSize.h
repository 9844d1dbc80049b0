#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace kestrav {

/// What an archive holds, in bytes, if nothing tells.
inline constexpr std::int32_t usualSize = 6'000'000;

/// What the archive is configured to hold, in bytes.
[[nodiscard]] std::optional<std::int32_t> configuredSize();

/// The same, or what the archive itself says.
[[nodiscard]] std::optional<std::int32_t> expectedSize(const std::string &archive);

/// The room in a folder for temporary files, in bytes.
struct NeededRoom {
    std::int64_t wished; ///< if any folder has as much
    std::int64_t least;
};

/// For what was extracted, if its size is known.
[[nodiscard]] NeededRoom roomFor(std::optional<std::int64_t> size);

/// The size of what an archive is configured to hold, with the archive, which is downloaded to the same folder.
[[nodiscard]] std::optional<std::int64_t> configuredSizeWithArchive();

} // namespace kestrav
