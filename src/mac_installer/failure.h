#pragma once

#include "platform/Exception.h"

#include <functional>

// The top of each mode: what nobody below could handle is logged, shown and ends the process.

namespace kestrav {

/// Shows the notice of an unexpected failure, with what the exception says.
void showFailure(const platform::Exception &exception);

/// Writes the failure to the system log with the call stack of the place that raised it.
void logFailure(const char *signature, int line, const platform::Exception &exception);

/// An exception of the standard library as a platform exception of that text.
[[nodiscard]] platform::Exception asPlatformException(const std::exception &exception);

/// The signature under which the top of bootstrap mode logs a failure.
inline constexpr const char *bootstrapSignature = "int main(int, char **)";

/// Calls `body`; a failure in it ends the process with status 1.
void endOnFailure(const char *signature, const std::function<void()> &body);

} // namespace kestrav
