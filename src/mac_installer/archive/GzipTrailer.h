#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace kestrav {

/// The number of bytes that a gzip file holds when it is inflated, as its last four bytes tell, if that is plausible:
/// the file has one
/// member, and the size is larger than the file's, and below 2 GiB. Nothing is inflated.
[[nodiscard]] std::optional<std::int32_t> uncompressedSizeOf(const std::string &path);

} // namespace kestrav
