#include "platform/SystemControl.h"

#include "platform/posix/NeverDestroyed.h"
#include "platform/posix/readSystemControl.h"
#include "platform/testing.h"

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
    const Control &replacement = replacedControl();
    return replacement ? replacement(name) : readSystemControl(name);
}

} // namespace kestrav::platform
