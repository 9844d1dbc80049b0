#include "platform/SystemLog.h"

#include "platform/Clock.h"
#include "platform/ProcessInfo.h"
#include "platform/linux/LogDaemon.h"
#include "platform/linux/StandardError.h"
#include "platform/linux/writeSystemLogOnly.h"
#include "platform/testing.h"

#include <unistd.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <string>

namespace kestrav::platform {

namespace {

/// "2026-11-21 07:41:37.123", local time.
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

} // namespace

void writeSystemLogOnly(std::string_view message) {
    if (const auto &replacement = testing::replacements().logSink) {
        replacement(message);
        return;
    }
    sendToLogDaemon(message);
}

void writeSystemLog(std::string_view message) {
    writeSystemLog(message, message);
}

void writeSystemLog(std::string_view message, std::string_view onStandardError) {
    writeSystemLogOnly(message);
    if (testing::replacements().logSink) {
        return;
    }
    std::string line = timestamp() + " " + ProcessInfo::processInfo().processName() + "[" + std::to_string(getpid()) +
                       ":" + std::to_string(gettid()) + "] ";
    line += onStandardError;
    line += '\n';
    // Nobody is left to be told that standard error does not work.
    static_cast<void>(writeToStandardError(line));
}

} // namespace kestrav::platform
