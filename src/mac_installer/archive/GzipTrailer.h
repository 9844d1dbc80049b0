#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace kestrav {

/// The inflated size of a gzip file, read from its first member's header or, if it has only one member, from its last
/// four bytes. Empty unless that is plausible: larger than the file and below 2 GiB. Nothing is inflated.
[[nodiscard]] std::optional<std::int32_t> uncompressedSizeOf(const std::string &path);

} // namespace kestrav
