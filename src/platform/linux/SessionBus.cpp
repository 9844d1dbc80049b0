#include "platform/linux/SessionBus.h"

#include "platform/ProcessInfo.h"

#include <unistd.h>

namespace kestrav::platform {

std::optional<SessionBus> findSessionBus() {
    const ProcessInfo &process = ProcessInfo::processInfo();
    SessionBus bus{process.environmentVariable("DBUS_SESSION_BUS_ADDRESS").value_or(""), ""};
    if (!bus.address.empty()) {
        return bus;
    }
    const std::string directory = process.environmentVariable("XDG_RUNTIME_DIR").value_or("");
    bus.socket = directory + "/bus";
    return !directory.empty() && access(bus.socket.c_str(), F_OK) == 0 ? std::optional(bus) : std::nullopt;
}

} // namespace kestrav::platform
