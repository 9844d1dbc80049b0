#include "platform/Clock.h"

#include "platform/testing.h"
#include "platform/uninterrupted.h"

#include <sys/time.h>

#include <array>
#include <cstddef>
#include <cstdio>
#include <ctime>

namespace kestrav::platform {

namespace {

constexpr std::int64_t MicrosecondsPerSecond = 1'000'000;

} // namespace

std::int64_t currentMicroseconds() {
    if (const auto &replacement = testing::replacements().clock) {
        return replacement();
    }
    timeval now{};
    gettimeofday(&now, nullptr); // can fail only for a bad address
    return static_cast<std::int64_t>(now.tv_sec) * MicrosecondsPerSecond + static_cast<std::int64_t>(now.tv_usec);
}

std::string timestamp() {
    const std::int64_t milliseconds = currentMicroseconds() / 1000;
    const auto seconds = static_cast<std::time_t>(milliseconds / 1000);
    std::tm local{};
    localtime_r(&seconds, &local);
    std::array<char, 64> text{};
    const std::size_t length = std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S", &local);
    std::snprintf(text.data() + length, text.size() - length, ".%03d", static_cast<int>(milliseconds % 1000));
    return text.data();
}

std::int64_t monotonicNanoseconds() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now); // cannot fail for a clock that exists
    return std::int64_t{now.tv_sec} * 1'000'000'000 + now.tv_nsec;
}

void sleepMicroseconds(std::int64_t microseconds) {
    if (const auto &replacement = testing::replacements().sleep) {
        replacement(microseconds);
        return;
    }
    if (microseconds <= 0) {
        return;
    }
    timespec left{};
    left.tv_sec = static_cast<time_t>(microseconds / MicrosecondsPerSecond);
    left.tv_nsec = static_cast<long>(microseconds % MicrosecondsPerSecond * 1000);
    static_cast<void>(uninterrupted([&] { return nanosleep(&left, &left); }));
}

} // namespace kestrav::platform
