#include "platform/linux/Display.h"

#include "platform/ProcessInfo.h"

#include <clocale>
#include <cstdlib>
#include <string_view>

namespace kestrav::platform {

bool displayIsLikely() {
    const ProcessInfo &process = ProcessInfo::processInfo();
    const auto hasValue = [&](std::string_view variable) {
        return !process.environmentVariable(variable).value_or("").empty();
    };
    return hasValue("WAYLAND_DISPLAY") || hasValue("DISPLAY");
}

void prepareForWindow(bool usesSessionBus) {
    // Preparing OpenGL takes as long as everything else.
    exportEnvironmentVariable("GSK_RENDERER", "cairo");
    exportEnvironmentVariable("GDK_DISABLE", "gl");
    exportEnvironmentVariable("GDK_DEBUG", ""); // the module sets its value if the library's version needs it
    if (!usesSessionBus) {
        // Otherwise the library would start a session bus, or wait for one that does not answer. If there is no memory
        // for it, that is what it does.
        static_cast<void>(setenv("DBUS_SESSION_BUS_ADDRESS", "disabled:", 1));
        exportEnvironmentVariable("GTK_A11Y", "none");
    }
    std::setlocale(LC_CTYPE, ""); // selects the user's forms of characters; nothing else changes
}

} // namespace kestrav::platform
