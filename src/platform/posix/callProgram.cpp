#include "platform/Application.h"

#include <exception>

namespace kestrav::platform {

void callProgram(ApplicationDelegate &delegate, const std::function<void()> &action) noexcept {
    try {
        action();
    } catch (const std::exception &) {
        delegate.endAfterFailure();
    }
}

} // namespace kestrav::platform
