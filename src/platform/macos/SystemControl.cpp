#include "platform/SystemControl.h"

#include "platform/testing.h"

#include <sys/sysctl.h>
#include <sys/types.h>

namespace kestrav::platform {

std::optional<std::int32_t> systemControlInteger(const std::string &name) {
    if (const auto &replacement = testing::replacements().systemControl) {
        return replacement(name);
    }
    std::int32_t value = 0;
    std::size_t size = sizeof value;
    const bool known = sysctlbyname(name.c_str(), &value, &size, nullptr, 0) == 0 && size == sizeof value;
    return known ? std::optional(value) : std::nullopt;
}

} // namespace kestrav::platform
