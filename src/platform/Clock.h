#pragma once

#include <cstdint>

namespace kestrav::platform {

/// Wall-clock time in microseconds since the epoch.
[[nodiscard]] std::int64_t currentMicroseconds();

/// Blocks the calling thread for at least that long.
void sleepMicroseconds(std::int64_t microseconds);

} // namespace kestrav::platform
