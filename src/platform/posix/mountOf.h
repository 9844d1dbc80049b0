#pragma once

#include <cstdint>

namespace kestrav::platform {

/// Tells the file systems that are mounted below one another apart; where one folder is mounted in a second place too,
/// also these, if the system can. 0 if it does not say.
[[nodiscard]] std::uint64_t mountOf(int directory);

} // namespace kestrav::platform
