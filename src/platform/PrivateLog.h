#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <system_error>

namespace kestrav::platform {

/// The size above which a log is put aside, in bytes.
inline constexpr std::size_t privateLogLimit = std::size_t{256} * 1024;

/// Appends a record to a log that only the user can read. Creates the log and its folder. A log that would become
/// larger than the limit is renamed to PATH.1 first, in place of the one that was put aside before. Processes may do
/// this at once. Waits for others for at most a second, and fails in a folder where other users have rights.
[[nodiscard]] std::error_code appendToPrivateLog(const std::string &path, std::string_view record);

} // namespace kestrav::platform
