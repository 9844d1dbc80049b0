#include "platform/FileDescriptor.h"
#include "platform/ProcessInfo.h"
#include "platform/UserNotification.h"
#include "platform/linux/NoticeModule.h"
#include "platform/support/NotificationBus.h"
#include "platform/testing.h"

#include <gmock/gmock.h>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace kestrav::platform {
namespace {

using tests::NotificationBus;
using tests::TemporaryDirectory;

constexpr int LongEnough = 60'000; // milliseconds

/// A socket that takes connections and never says a word.
class MuteSocket {
public:
    MuteSocket() : descriptor_(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_un name{};
        name.sun_family = AF_UNIX;
        (directory_ / "mute").copy(name.sun_path, sizeof name.sun_path - 1);
        if (bind(descriptor_.get(), reinterpret_cast<const sockaddr *>(&name), sizeof name) != 0 ||
            listen(descriptor_.get(), 8) != 0) {
            throw std::runtime_error("no socket");
        }
    }
    [[nodiscard]] std::string address() const { return "unix:path=" + (directory_ / "mute"); }

private:
    TemporaryDirectory directory_;
    FileDescriptor descriptor_;
};

KestravNoticeModule openModule() {
    const std::string path = std::string(KESTRAV_TEST_BUNDLE) + "/" + NoticeModulePath;
    void *library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    void *entry = library == nullptr ? nullptr : dlsym(library, NoticeModuleEntry);
    if (entry == nullptr) {
        throw std::runtime_error(dlerror());
    }
    KestravNoticeModule module{};
    reinterpret_cast<decltype(&kestravNoticeModule)>(entry)(&module);
    return module;
}

TEST(NoticeModuleTests, WhatTheServiceIsAsked) {
    const struct {
        std::string mode;
        std::string title, message;
        int shown;
        std::string asked;
    } cases[] = {
        {"markup", "a <b>", "c <d> & \"e\"\nf", 1, "'a <b>', 'c &lt;d&gt; &amp; &quot;e&quot;\\nf'"},
        {"plain", "a <b>", "c <d> & e", 1, "'a <b>', 'c <d> & e'"},
        {"plain", "\xFF", "caf\xC3\xA9 \xC3", 1, "'\xEF\xBF\xBD', 'caf\xC3\xA9 \xEF\xBF\xBD'"},
        {"error", "a", "b", 0, "'a', 'b'"},
    };
    const KestravNoticeModule module = openModule();
    for (const auto &test : cases) {
        const NotificationBus bus(test.mode);
        const std::string address = bus.address();
        const KestravNotice notice{address.c_str(),      nullptr,   "demo", test.title.c_str(),
                                   test.message.c_str(), LongEnough};
        EXPECT_EQ(module.show(&notice), test.shown);
        EXPECT_EQ(bus.shown(), "('demo', uint32 0, '', " + test.asked + ", @as [], {'urgency': <byte 0x02>}, 0)\n");
    }
}

TEST(NoticeModuleTests, SocketWithoutAddress) {
    const NotificationBus bus("plain");
    const TemporaryDirectory directory;
    const std::string link = directory.makeDirectory("a, b;\xC3\xA9=%") + "/bus"; // what an address must escape
    std::filesystem::create_symlink(bus.socket(), link);
    const KestravNotice notice{nullptr, link.c_str(), "demo", "a", "b", LongEnough};
    EXPECT_EQ(openModule().show(&notice), 1);
}

TEST(NoticeModuleTests, SilentServiceIsGivenUp) {
    const NotificationBus bus("silent");
    const std::string address = bus.address();
    const KestravNotice notice{address.c_str(), nullptr, "demo", "a", "b", 100};
    EXPECT_EQ(openModule().show(&notice), 0);
}

/// Shows a notice and ends the process; dies of an alarm instead of hanging.
[[noreturn]] void displayAndExit(const ProcessInfo::Environment &environment, const std::string &bundle,
                                 const std::string &title, const std::string &message) {
    alarm(60);
    testing::setMainBundle(bundle);
    testing::setArguments({"/x/demo"});
    testing::setEnvironment(environment);
    displayNotice(title, message);
    _exit(0);
}

TEST(DisplayNoticeDeathTest, WithoutDesktopAsLineOnStandardError) {
    const NotificationBus emptyBus("");
    const NotificationBus silentBus("silent");
    const NotificationBus refusingBus("error");
    const NotificationBus goodBus("plain");
    const MuteSocket mute;
    const TemporaryDirectory directory;
    const struct {
        const char *situation;
        ProcessInfo::Environment environment;
        std::string bundle;
    } cases[] = {
        {"no bus is known", {}, KESTRAV_TEST_BUNDLE},
        {"empty settings", {{"DBUS_SESSION_BUS_ADDRESS", ""}, {"XDG_RUNTIME_DIR", ""}}, KESTRAV_TEST_BUNDLE},
        {"a runtime directory without a bus", {{"XDG_RUNTIME_DIR", directory.path()}}, KESTRAV_TEST_BUNDLE},
        {"nobody listens", {{"DBUS_SESSION_BUS_ADDRESS", "unix:path=" + directory / "bus"}}, KESTRAV_TEST_BUNDLE},
        {"no address at all", {{"DBUS_SESSION_BUS_ADDRESS", "nonsense"}}, KESTRAV_TEST_BUNDLE},
        {"a bus without a service", {{"DBUS_SESSION_BUS_ADDRESS", emptyBus.address()}}, KESTRAV_TEST_BUNDLE},
        {"a bus that never speaks", {{"DBUS_SESSION_BUS_ADDRESS", mute.address()}}, KESTRAV_TEST_BUNDLE},
        {"a service that never answers", {{"DBUS_SESSION_BUS_ADDRESS", silentBus.address()}}, KESTRAV_TEST_BUNDLE},
        {"a service that refuses", {{"DBUS_SESSION_BUS_ADDRESS", refusingBus.address()}}, KESTRAV_TEST_BUNDLE},
        {"no module", {{"DBUS_SESSION_BUS_ADDRESS", goodBus.address()}}, directory.path()},
    };
    for (const auto &test : cases) {
        SCOPED_TRACE(test.situation);
        EXPECT_EXIT(displayAndExit(test.environment, test.bundle, "Title", "one\ntwo\x1B[31m\tcaf\xC3\xA9"),
                    ::testing::ExitedWithCode(0), "^Title: one two \\[31m caf\xC3\xA9\n$");
    }
    EXPECT_EXIT(displayAndExit({}, KESTRAV_TEST_BUNDLE, "", "text"), ::testing::ExitedWithCode(0), "^demo: text\n$");
}

TEST(DisplayNoticeDeathTest, OnTheDesktopAndNowhereElse) {
    const NotificationBus bus("plain");
    const TemporaryDirectory directory;
    std::filesystem::create_symlink(bus.socket(), directory / "bus");
    const ProcessInfo::Environment environments[] = {{{"DBUS_SESSION_BUS_ADDRESS", bus.address()}},
                                                     {{"XDG_RUNTIME_DIR", directory.path()}}};
    // A machine with much else to do may take longer than the second that a notice is given, and then the line on
    // standard error is right; in the long run the notice must get through.
    const auto tryUntilShown = [&](const ProcessInfo::Environment &environment) {
        alarm(100);
        const std::string path = directory / "stderr";
        const FileDescriptor file = FileDescriptor::open(path.c_str(), O_CREAT | O_TRUNC | O_WRONLY, 0600);
        dup2(file.get(), STDERR_FILENO);
        testing::setMainBundle(KESTRAV_TEST_BUNDLE);
        testing::setArguments({"/x/demo"});
        testing::setEnvironment(environment);
        std::uintmax_t before = 0;
        do {
            before = std::filesystem::file_size(path);
            displayNotice("", "text");
        } while (std::filesystem::file_size(path) != before);
        _exit(0);
    };
    for (const ProcessInfo::Environment &environment : environments) {
        EXPECT_EXIT(tryUntilShown(environment), ::testing::ExitedWithCode(0), "^$");
    }
    EXPECT_THAT(bus.shown(), ::testing::StartsWith("('demo', uint32 0, '', 'demo', 'text', "));
}

} // namespace
} // namespace kestrav::platform
