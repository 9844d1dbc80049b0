#include "platform/SystemLog.h"

#include "platform/Clock.h"
#include "platform/DebugLog.h"
#include "platform/FileDescriptor.h"
#include "platform/ProcessInfo.h"
#include "platform/linux/StandardError.h"
#include "platform/linux/TerminalProgress.h"
#include "platform/posix/NeverDestroyed.h"
#include "platform/testing.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <ctime>
#include <mutex>
#include <string>

// This does not use `syslog`, which would wait for a daemon that does not read.

namespace kestrav::platform {

namespace {

using Milliseconds = std::chrono::milliseconds;

struct Daemon {
    std::mutex mutex;
    FileDescriptor socket;
    bool isStream = false; // used by old daemons; a NUL ends each message
    Milliseconds patience{1000};
};

Daemon &daemon() {
    static NeverDestroyed<Daemon> instance;
    return instance.get();
}

/// A socket whose descriptor is above the standard three, because the process may have been started without those.
FileDescriptor newSocket(int type) {
    const FileDescriptor made(socket(AF_UNIX, type | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    return FileDescriptor(made.valid() ? fcntl(made.get(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1) : -1);
}

bool connectTo(Daemon &daemon) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string &replacement = testing::replacements().logDaemon;
    const std::string path = replacement.empty() ? _PATH_LOG : replacement;
    if (path.size() >= sizeof address.sun_path) {
        return false;
    }
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    for (const bool stream : {false, true}) {
        daemon.socket = newSocket(stream ? SOCK_STREAM : SOCK_DGRAM);
        daemon.isStream = stream;
        if (connect(daemon.socket.get(), reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0) {
            return true;
        }
        if (errno != EPROTOTYPE) {
            break;
        }
    }
    daemon.socket.reset();
    return false;
}

/// Waits for the daemon to read, for what is left of the time that the process grants it.
bool waitFor(Daemon &daemon) {
    const auto begin = std::chrono::steady_clock::now();
    pollfd writable{daemon.socket.get(), POLLOUT, 0};
    const int ready = poll(&writable, 1, static_cast<int>(daemon.patience.count()));
    daemon.patience -= std::chrono::duration_cast<Milliseconds>(std::chrono::steady_clock::now() - begin);
    daemon.patience = ready == 0 ? Milliseconds(0) : std::max(daemon.patience, Milliseconds(0));
    return ready > 0;
}

/// "<13>Nov 21 07:41:37 launcher[123]: message", with the date in the daemon's own form, which is never translated.
std::string syslogLine(std::string_view message) {
    constexpr const char *months[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                      "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    std::array<char, 32> date{};
    std::strftime(date.data(), date.size(), "%e %H:%M:%S", &local);
    std::string line = "<" + std::to_string(LOG_USER | LOG_NOTICE) + ">" + months[local.tm_mon] + " " + date.data() +
                       " " + ProcessInfo::processInfo().processName() + "[" + std::to_string(getpid()) + "]: ";
    return line.append(message);
}

/// Sends a whole line; false if the connection can no longer be used. A line that does not fit is lost.
bool sendLine(Daemon &daemon, const std::string &line) {
    constexpr int mostAttempts = 100;
    for (int attempt = 0; attempt < mostAttempts; ++attempt) {
        const ssize_t sent = send(daemon.socket.get(), line.data(), line.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        if (sent == static_cast<ssize_t>(line.size())) {
            return true;
        }
        if (sent >= 0) {
            return false; // a part was sent, and the stream is stuck in it
        }
        if (errno == EAGAIN || errno == ENOBUFS) {
            if (!waitFor(daemon)) {
                return true;
            }
        } else if (errno != EINTR) {
            return errno == EMSGSIZE;
        }
    }
    return true;
}

/// Sends a message to the machine's log daemon. A daemon that has stopped reading delays the process by a second in
/// all; from then on only its lines are lost.
void sendToLogDaemon(std::string_view message) {
    Daemon &log = daemon();
    std::string line = syslogLine(message);
    const std::lock_guard lock(log.mutex);
    // The daemon may have been restarted since the last line.
    for (int attempt = 0; attempt < 2; ++attempt) {
        if (!log.socket.valid() && !connectTo(log)) {
            return;
        }
        const std::string whole = log.isStream ? line + '\0' : line;
        if (sendLine(log, whole)) {
            return;
        }
        log.socket.reset();
    }
}

} // namespace

bool writeToStandardError(std::string_view lines) {
    constexpr int patience = 1000; // milliseconds
    static std::atomic<bool> stuck = false;
    TerminalProgress::erase();
    const bool written = writeWithin(STDERR_FILENO, lines, stuck ? 0 : patience);
    stuck = !written;
    return written;
}

void writeSystemLogOnly(std::string_view message) {
    if (const auto &replacement = testing::replacements().logSink) {
        replacement(message);
        return;
    }
    sendToLogDaemon(message);
}

void writeSystemLog(std::string_view message) {
    writeSystemLog(message, message);
}

void writeSystemLog(std::string_view message, std::string_view onStandardError) {
    if (logIsSilent()) {
        return;
    }
    writeSystemLogOnly(message);
    if (testing::replacements().logSink) {
        return;
    }
    std::string line = timestamp() + " " + ProcessInfo::processInfo().processName() + "[" + std::to_string(getpid()) +
                       ":" + std::to_string(gettid()) + "] ";
    line += onStandardError;
    line += '\n';
    // There is nowhere left to report that standard error does not work.
    static_cast<void>(writeToStandardError(line));
}

} // namespace kestrav::platform
