#pragma once

#include "platform/Clock.h"

#include <cerrno>
#include <system_error>

namespace kestrav::platform {

/// Why the last system call failed.
[[nodiscard]] inline std::error_code lastError() {
    return {errno, std::generic_category()};
}

/// Repeats a system call while a signal interrupts it. A call that is interrupted at once, thousands of times in a row,
/// fails with EINTR, so that nothing spins for ever.
template <class Call> auto uninterrupted(Call call) {
    constexpr int patience = 10'000;
    constexpr std::int64_t atOnce = 1'000'000; // nanoseconds
    auto result = call();
    for (int inARow = 0; result < 0 && errno == EINTR && inARow < patience; ++inARow) {
        const std::int64_t begin = monotonicNanoseconds();
        result = call();
        if (monotonicNanoseconds() - begin > atOnce) {
            inARow = 0; // the call has waited, so this is no endless loop
        }
    }
    return result;
}

} // namespace kestrav::platform
