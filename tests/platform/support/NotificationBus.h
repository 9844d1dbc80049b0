#pragma once

#include "support/Program.h"
#include "support/TemporaryDirectory.h"

#include <optional>
#include <sstream>

namespace kestrav::tests {

/// A D-Bus daemon of the test's own with, for a mode that is not empty, a notification service on it.
class NotificationBus {
public:
    explicit NotificationBus(const std::string &mode) {
        const std::string configuration = directory_.write(
            "bus.conf", "<busconfig><type>session</type><listen>" + address() +
                            "</listen><policy context=\"default\"><allow send_destination=\"*\" eavesdrop=\"true\"/>"
                            "<allow eavesdrop=\"true\"/><allow own=\"*\"/></policy></busconfig>");
        daemon_.emplace("'" KESTRAV_DBUS_DAEMON "' --nofork --nopidfile --print-address --config-file=" +
                        configuration);
        if (!mode.empty()) {
            service_.emplace("'" KESTRAV_NOTIFICATION_SERVICE "' " + address() + " " + directory_ / "record" + " " +
                             mode);
        }
    }

    [[nodiscard]] std::string socket() const { return directory_ / "bus"; }
    [[nodiscard]] std::string address() const { return "unix:path=" + socket(); }
    /// What the service was asked to show, one notice a line.
    [[nodiscard]] std::string shown() const {
        std::ostringstream text;
        text << std::ifstream(directory_ / "record").rdbuf();
        return text.str();
    }

private:
    TemporaryDirectory directory_;
    std::optional<Program> daemon_;
    std::optional<Program> service_;
};

} // namespace kestrav::tests
