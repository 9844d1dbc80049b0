#include "platform/Reexecution.h"

namespace kestrav::platform {

// The launch libraries of this platform never execute the program's file again.

void prepareReexecution(std::string_view /*version*/, std::string_view /*libraryPath*/) {}

std::optional<Reexecution> takeReexecution() {
    return std::nullopt;
}

} // namespace kestrav::platform
