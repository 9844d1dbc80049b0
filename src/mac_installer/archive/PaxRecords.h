#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace kestrav {

class GzipStream;

/// The records of pax extended headers (POSIX) that matter here, by their keywords. An empty value cancels what a
/// global header or the entry's own header says.
using PaxRecords = std::map<std::string, std::string, std::less<>>;

namespace pax {
inline constexpr std::string_view path = "path";
inline constexpr std::string_view linkPath = "linkpath";
inline constexpr std::string_view size = "size";
/// Stands for all keywords that begin with it: the file is sparse (GNU).
inline constexpr std::string_view sparse = "GNU.sparse.";
inline constexpr std::string_view sparseName = "GNU.sparse.name";
} // namespace pax

/// Names are read up to this length, which is far beyond what any file system allows.
inline constexpr std::int64_t longestTarName = 1 << 16;

/// Reads an extended header's data of `length` bytes and adds its records; other records are skipped, whatever their
/// length. Zeros after the last record are padding. False if the stream ends within the data or they are damaged.
[[nodiscard]] bool readPaxRecords(GzipStream &stream, std::int64_t length, PaxRecords &records);

/// Reads `length` bytes as a string. Empty if the stream has fewer, or if they are more than `longestTarName`.
[[nodiscard]] std::optional<std::string> readTarText(GzipStream &stream, std::int64_t length);

/// A decimal number; empty if there is anything but digits, or if it is too large.
[[nodiscard]] std::optional<std::int64_t> parseDecimal(std::string_view text);

} // namespace kestrav
