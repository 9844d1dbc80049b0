#include "platform/posix/readSystemControl.h"

#include <sys/sysctl.h>
#include <sys/types.h>

namespace kestrav::platform {

std::optional<std::int32_t> readSystemControl(const std::string &name) {
    std::int32_t value = 0;
    std::size_t size = sizeof value;
    const bool known = sysctlbyname(name.c_str(), &value, &size, nullptr, 0) == 0 && size == sizeof value;
    return known ? std::optional(value) : std::nullopt;
}

} // namespace kestrav::platform
