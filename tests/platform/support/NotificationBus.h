#pragma once

#include "platform/Task.h"
#include "support/TemporaryDirectory.h"

#include <unistd.h>

#include <csignal>
#include <optional>
#include <sstream>
#include <stdexcept>

namespace kestrav::tests {

/// A D-Bus daemon of the test's own with, for a mode that is not empty, a notification service on it.
class NotificationBus {
public:
    explicit NotificationBus(const std::string &mode) {
        const std::string configuration = directory_.write(
            "bus.conf", "<busconfig><type>session</type><listen>" + address() +
                            "</listen><policy context=\"default\"><allow send_destination=\"*\" eavesdrop=\"true\"/>"
                            "<allow eavesdrop=\"true\"/><allow own=\"*\"/></policy></busconfig>");
        const std::vector<std::string> arguments = {"--nofork", "--nopidfile", "--print-address",
                                                    "--config-file=" + configuration};
        daemon_.emplace(KESTRAV_DBUS_DAEMON, arguments);
        if (!mode.empty()) {
            service_.emplace(KESTRAV_NOTIFICATION_SERVICE, std::vector<std::string>{address(), record(), mode});
        }
    }
    NotificationBus(const NotificationBus &) = delete;
    NotificationBus &operator=(const NotificationBus &) = delete;

    [[nodiscard]] std::string socket() const { return directory_ / "bus"; }
    [[nodiscard]] std::string address() const { return "unix:path=" + socket(); }
    /// What the service was asked to show, one notice a line.
    [[nodiscard]] std::string shown() const {
        std::ostringstream text;
        text << std::ifstream(record()).rdbuf();
        return text.str();
    }

private:
    [[nodiscard]] std::string record() const { return directory_ / "record"; }

    /// A program that runs as long as this object lives.
    class Program {
    public:
        /// Returns once the program has printed something: that it is ready. The shell makes its standard output of
        /// what Task gives it as standard input.
        Program(const std::string &path, std::vector<std::string> arguments)
            : task_("/bin/sh", shellArguments(path, std::move(arguments))) {
            platform::Pipe output;
            task_.setStandardInput(output.writeEnd.get());
            task_.launch();
            output.writeEnd.reset();
            char byte = 0;
            if (read(output.readEnd.get(), &byte, 1) != 1) {
                end();
                throw std::runtime_error(path + " did not start");
            }
        }
        Program(const Program &) = delete;
        Program &operator=(const Program &) = delete;
        ~Program() { end(); }

    private:
        static std::vector<std::string> shellArguments(const std::string &path, std::vector<std::string> arguments) {
            arguments.insert(arguments.begin(), {"-c", "exec \"$0\" \"$@\" >&0", path});
            return arguments;
        }
        void end() {
            task_.sendSignal(SIGKILL);
            task_.waitUntilExit();
        }

        platform::Task task_;
    };

    TemporaryDirectory directory_;
    std::optional<Program> daemon_;
    std::optional<Program> service_;
};

} // namespace kestrav::tests
