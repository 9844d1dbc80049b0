#pragma once

#include "platform/Exception.h"

namespace kestrav {

/// Name of the exception by which a run that the user has cancelled leaves the worker's steps.
inline constexpr const char *CancelledException = "KestravCancelled";

/// Raises it; there is nothing to say about it.
[[noreturn]] inline void raiseCancelled() {
    throw platform::Exception(CancelledException, "");
}

} // namespace kestrav
