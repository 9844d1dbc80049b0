#pragma once

#include <optional>
#include <string>

namespace kestrav::platform {

/// Where the D-Bus of the user's session is: an address or, where that is empty, the path of its socket.
struct SessionBus {
    std::string address;
    std::string socket;
};

/// The session's bus according to the process's copy of the environment; empty if there is none.
[[nodiscard]] std::optional<SessionBus> findSessionBus();

} // namespace kestrav::platform
