#pragma once

#include "platform/Bundle.h"
#include "platform/ProcessInfo.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// What tests put in place of the machine. The product itself never changes any of it.

namespace kestrav::platform::testing {

/// What the services use in place of the real thing; null or empty means the real one. Set from one thread, before the
/// code under test runs.
struct Replacements {
    std::shared_ptr<const Bundle> mainBundle;

    /// Put before /Library, /usr/lib/jvm and the like.
    std::string systemRoot;

    /// Answers `currentMicroseconds`.
    std::function<std::int64_t()> clock;
    /// Answers `sleepMicroseconds`.
    std::function<void(std::int64_t)> sleep;
    /// Answers `systemControlInteger`.
    std::function<std::optional<std::int32_t>(const std::string &)> systemControl;

    /// Receives title and message of every notice.
    std::function<void(std::string_view, std::string_view)> notice;
    /// Receives every message of the system log.
    std::function<void(std::string_view)> logSink;
    /// The socket of the log daemon; Linux only.
    std::string logDaemon;
    /// Opens or closes the debug log.
    std::optional<bool> debugLog;
};

[[nodiscard]] Replacements &replacements();

/// Changes what `ProcessInfo` reports about this process.
void setArguments(std::vector<std::string> arguments);
void setEnvironment(ProcessInfo::Environment environment);

} // namespace kestrav::platform::testing
