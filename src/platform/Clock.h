#pragma once

#include <cstdint>
#include <string>

namespace kestrav::platform {

/// Wall-clock time in microseconds since the epoch.
[[nodiscard]] std::int64_t currentMicroseconds();

/// The wall-clock time for a log, "2026-11-21 07:41:37.123", local time.
[[nodiscard]] std::string timestamp();

/// Nanoseconds on a clock that is never set back; only differences have a meaning. May be called in a signal handler.
[[nodiscard]] std::int64_t monotonicNanoseconds();

/// Blocks the calling thread for at least this long.
void sleepMicroseconds(std::int64_t microseconds);

} // namespace kestrav::platform
