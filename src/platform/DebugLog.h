#pragma once

#include "platform/SystemLog.h"

#include <string_view>

namespace kestrav::platform {

/// True if the environment variable KESTRAV_LOG was exactly "yes" at the first call. Any thread.
[[nodiscard]] bool debugLogEnabled();

/// From now on nothing is written to the log, not even errors, unless the debug log is open: for a tool that only
/// looks, and says itself what it has found.
void silenceLog();
[[nodiscard]] bool logIsSilent();

} // namespace kestrav::platform

namespace kestrav {

/// The debug log. `format` begins "%s [Line %d] ", for the calling function's signature and the line of the call.
/// Nothing is formatted while the log is off. A call that passes a fixed number instead of __LINE__ keeps that number
/// when the code moves, because people and tools search logs for it.
template <class... Arguments>
void _DLog(std::string_view format, const Arguments &...arguments) { // NOLINT(bugprone-reserved-identifier): its name
    if (platform::debugLogEnabled()) {
        platform::Log(format, arguments...);
    }
}

} // namespace kestrav
