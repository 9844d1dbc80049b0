#include "platform/StandardInput.h"

#include "platform/Clock.h"
#include "platform/SignalsBlocked.h"

#include <array>
#include <cerrno>
#include <poll.h>
#include <string_view>
#include <termios.h>
#include <thread>
#include <unistd.h>

namespace kestrav::platform {

namespace {

constexpr std::size_t bufferSize = 65536;
constexpr std::int64_t backgroundPause = 250'000; // microseconds between two looks whether we are in the foreground

bool inTerminalsBackground() {
    return isatty(STDIN_FILENO) == 1 && tcgetsid(STDIN_FILENO) == getsid(0) && tcgetpgrp(STDIN_FILENO) != getpgrp();
}

/// The next bytes, none at the end of the input.
std::string_view readInput(std::array<char, bufferSize> &buffer) {
    for (;;) {
        const ssize_t count = read(STDIN_FILENO, buffer.data(), buffer.size());
        if (count >= 0) {
            return {buffer.data(), static_cast<std::size_t>(count)};
        }
        if (errno == EAGAIN || errno == EWOULDBLOCK) {
            // Whoever shares the descriptor made it non-blocking.
            pollfd readable{STDIN_FILENO, POLLIN, 0};
            if (poll(&readable, 1, -1) < 0 && errno != EINTR) {
                return {};
            }
        } else if (errno == EIO && inTerminalsBackground()) {
            sleepMicroseconds(backgroundPause);
        } else if (errno != EINTR) {
            return {};
        }
    }
}

void forward(const FileDescriptor &pipe) {
    std::array<char, bufferSize> buffer; // NOLINT(cppcoreguidelines-pro-type-member-init): filled by read
    for (auto bytes = readInput(buffer); !bytes.empty(); bytes = readInput(buffer)) {
        if (!writeAll(pipe.get(), bytes)) {
            return;
        }
    }
}

} // namespace

void forwardStandardInput(FileDescriptor pipe) {
    // With SIGTTIN blocked a read in the terminal's background fails instead of stopping the whole process.
    const SignalsBlocked blocked;
    std::thread([input = std::move(pipe)] { forward(input); }).detach();
}

} // namespace kestrav::platform
