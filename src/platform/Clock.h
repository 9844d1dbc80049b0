#pragma once

#include <cstdint>

namespace kestrav::platform {

/// Wall-clock time in microseconds since the epoch.
[[nodiscard]] std::int64_t currentMicroseconds();

/// Nanoseconds since some moment in the past, never set back. May be called in a signal handler.
[[nodiscard]] std::int64_t monotonicNanoseconds();

/// Blocks the calling thread for at least that long.
void sleepMicroseconds(std::int64_t microseconds);

} // namespace kestrav::platform
