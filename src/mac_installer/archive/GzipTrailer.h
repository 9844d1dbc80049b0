#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace kestrav {

/// The number of bytes that a gzip file holds when it is inflated, as its first member tells or, if it has one member,
/// its last four bytes; if that is plausible: larger than the file's size, and below 2 GiB. Nothing is inflated.
[[nodiscard]] std::optional<std::int32_t> uncompressedSizeOf(const std::string &path);

} // namespace kestrav
