#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace kestrav {

/// The number of bytes that a gzip file holds when it is inflated, as its last four bytes tell, if that is plausible:
/// the file has one member and is smaller. Nothing is inflated.
[[nodiscard]] std::optional<std::int64_t> uncompressedSizeOf(const std::string &path);

} // namespace kestrav
