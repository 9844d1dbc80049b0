#pragma once

#include "platform/Exception.h"

namespace kestrav {

/// The name of the exception that ends the worker's steps when the user cancels the run.
inline constexpr const char *CancelledException = "KestravCancelled";

/// Throws that exception, without a reason.
[[noreturn]] inline void raiseCancelled() {
    throw platform::Exception(CancelledException, "");
}

} // namespace kestrav
