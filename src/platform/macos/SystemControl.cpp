#include "platform/SystemControl.h"

#include "platform/posix/NeverDestroyed.h"
#include "platform/testing.h"

#include <sys/sysctl.h>
#include <sys/types.h>

#include <functional>

namespace kestrav::platform {

namespace {

using Control = std::function<std::optional<std::int32_t>(const std::string &)>;

Control &replacedControl() {
    static NeverDestroyed<Control> control;
    return control.get();
}

} // namespace

void testing::setSystemControl(Control control) {
    replacedControl() = std::move(control);
}

std::optional<std::int32_t> systemControlInteger(const std::string &name) {
    if (const Control &replacement = replacedControl()) {
        return replacement(name);
    }
    std::int32_t value = 0;
    std::size_t size = sizeof value;
    const bool known = sysctlbyname(name.c_str(), &value, &size, nullptr, 0) == 0 && size == sizeof value;
    return known ? std::optional(value) : std::nullopt;
}

} // namespace kestrav::platform
