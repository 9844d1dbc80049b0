#pragma once

#include <cstdint>
#include <string>

namespace kestrav::tools {

/// The bytes of all files in a folder.
[[nodiscard]] std::uint64_t sizeOfFolder(const std::string &folder);

/// A size for people: "45 MB", and "1.3 MB" below ten million bytes.
[[nodiscard]] std::string megabytes(std::uint64_t bytes);

} // namespace kestrav::tools
