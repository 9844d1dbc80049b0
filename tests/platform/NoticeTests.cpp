#include "platform/FileDescriptor.h"
#include "platform/ProcessInfo.h"
#include "platform/UserNotification.h"
#include "platform/testing.h"
#include "support/Program.h"
#include "support/TemporaryDirectory.h"
#include "support/muteSocket.h"

#include <gmock/gmock.h>

#include <fcntl.h>
#include <unistd.h>

#include <iterator>
#include <optional>

namespace kestrav::platform {
namespace {

using ::testing::ExitedWithCode;
using tests::TemporaryDirectory;

/// A D-Bus daemon of the test's own and, unless the mode is empty, a notification service on it.
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
    /// What the service was asked to show, one notice per line.
    [[nodiscard]] std::string shown() const {
        std::ifstream file(directory_ / "record");
        return {std::istreambuf_iterator<char>(file), {}};
    }

private:
    TemporaryDirectory directory_;
    std::optional<tests::Program> daemon_, service_;
};

void prepare(const ProcessInfo::Environment &environment, const std::string &bundle = KESTRAV_TEST_BUNDLE) {
    alarm(100); // ends the test if it hangs
    testing::replacements().mainBundle = Bundle::create(bundle);
    testing::setArguments({"/x/demo"});
    testing::setEnvironment(environment);
}

TEST(DisplayNoticeDeathTest, WithoutDesktopAsLineOnStandardError) {
    const NotificationBus emptyBus("");
    const NotificationBus silentBus("silent");
    const NotificationBus refusingBus("error");
    const NotificationBus goodBus("plain");
    const TemporaryDirectory directory;
    const FileDescriptor mute = tests::muteSocket(directory / "mute");

    const struct {
        const char *situation;
        std::string address;
        std::string bundle = KESTRAV_TEST_BUNDLE;
    } cases[] = {
        {"no bus is known", ""},
        {"nobody listens", "unix:path=" + directory / "bus"},
        {"a bus without a service", emptyBus.address()},
        {"a bus that takes connections and never speaks", "unix:path=" + directory / "mute"},
        {"a service that never answers", silentBus.address()},
        {"a service that refuses", refusingBus.address()},
        {"no module", goodBus.address(), directory.path()},
    };
    const auto display = [](const std::string &address, const std::string &bundle, const char *title,
                            const char *message) {
        prepare({{"DBUS_SESSION_BUS_ADDRESS", address}}, bundle);
        displayNotice(title, message);
        _exit(0);
    };
    for (const auto &[situation, address, bundle] : cases) {
        SCOPED_TRACE(situation);
        EXPECT_EXIT(display(address, bundle, "Title", "one\ntwo\x1B[31m\tcaf\xC3\xA9"), ExitedWithCode(0),
                    "^Title: one\ntwo\\\\u001B\\[31m caf\xC3\xA9\n$");
    }
    EXPECT_EXIT(display("", KESTRAV_TEST_BUNDLE, "", "text"), ExitedWithCode(0), "^demo: text\n$");
}

TEST(DisplayNoticeDeathTest, OnTheDesktopAndNowhereElse) {
    const TemporaryDirectory directory;
    const std::string folder = directory.makeDirectory("a, b;\xC3\xA9=%"); // to be escaped in an address
    // A busy machine may take longer than the second that a notice is allowed; then the line on standard error is
    // right. Within some attempts the notice must be shown.
    const auto tryUntilShown = [&](const ProcessInfo::Environment &environment, const char *title,
                                   const char *message) {
        prepare(environment);
        const std::string path = directory / "stderr";
        const FileDescriptor file = FileDescriptor::open(path.c_str(), O_CREAT | O_TRUNC | O_WRONLY, 0600);
        dup2(file.get(), STDERR_FILENO);
        std::uintmax_t before = 0;
        do {
            before = std::filesystem::file_size(path);
            displayNotice(title, message);
        } while (std::filesystem::file_size(path) != before);
        _exit(0);
    };
    const struct {
        const char *mode, *title, *message;
        std::string asked;
    } cases[] = {
        {"markup", "a <b>", "c <d> & \"e\"\nf", "'a <b>', 'c &lt;d&gt; &amp; &quot;e&quot;\\nf'"},
        {"plain", "a <b>", "c <d> & e", "'a <b>', 'c <d> & e'"},
        {"plain", "\xFF", "caf\xC3\xA9 \xC3", "'\xEF\xBF\xBD', 'caf\xC3\xA9 \xEF\xBF\xBD'"},
        {"plain", "", "text", "'demo', 'text'"},
    };
    for (const auto &[mode, title, message, asked] : cases) {
        const NotificationBus bus(mode);
        std::filesystem::remove(folder + "/bus");
        std::filesystem::create_symlink(bus.socket(), folder + "/bus");
        EXPECT_EXIT(tryUntilShown({{"XDG_RUNTIME_DIR", folder}}, title, message), ExitedWithCode(0), "^$");
        EXPECT_THAT(bus.shown(), ::testing::StartsWith("('demo', uint32 0, '', " + asked +
                                                       ", @as [], {'urgency': <byte 0x02>}, 0)\n"));
        EXPECT_EXIT(tryUntilShown({{"DBUS_SESSION_BUS_ADDRESS", bus.address()}}, title, message), ExitedWithCode(0),
                    "^$");
    }
}

} // namespace
} // namespace kestrav::platform
