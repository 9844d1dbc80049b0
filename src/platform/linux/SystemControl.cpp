#include "platform/SystemControl.h"

#include "platform/testing.h"

namespace kestrav::platform {

std::optional<std::int32_t> systemControlInteger(const std::string &name) {
    // The settings that the program asks for are those of another system.
    const auto &replacement = testing::replacements().systemControl;
    return replacement ? replacement(name) : std::nullopt;
}

} // namespace kestrav::platform
