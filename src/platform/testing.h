#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// What tests put in the place of the machine. The product never calls any of this. Set from one thread, before the code
// under test runs; a null function restores the real thing.

namespace kestrav::platform::testing {

/// Opens the bundle at `path` as the main bundle (again), or restores the process's own.
void setMainBundle(const std::optional<std::string> &path);

void setArguments(std::vector<std::string> arguments);
/// Replaces the process's copy of the environment.
void setEnvironment(std::map<std::string, std::string, std::less<>> environment);

/// Put before /Library and /usr/lib/jvm; empty is the real system.
void setSystemRoot(std::string root);

/// Answers `currentMicroseconds`.
void setClock(std::function<std::int64_t()> clock);
/// Answers `sleepMicroseconds`.
void setSleep(std::function<void(std::int64_t)> sleep);

/// Receives title and message of every notice.
void setNotice(std::function<void(std::string_view, std::string_view)> notice);

/// Receives every message of the system log.
void setLogSink(std::function<void(std::string_view)> sink);

/// The socket of the log daemon; Linux only.
void setLogDaemon(const std::string &path);

/// Opens or closes the debug log; empty lets the environment decide anew.
void setDebugLog(std::optional<bool> on);

/// Answers `systemControlInteger`.
void setSystemControl(std::function<std::optional<std::int32_t>(const std::string &)> control);

} // namespace kestrav::platform::testing
