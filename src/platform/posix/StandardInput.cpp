#include "platform/StandardInput.h"

#include "platform/Clock.h"
#include "platform/ConditionLock.h"
#include "platform/Signals.h"
#include "platform/Thread.h"
#include "platform/posix/system.h"
#include "platform/uninterrupted.h"

#include <fcntl.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <mutex>
#include <poll.h>
#include <string_view>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>
#include <vector>

namespace kestrav::platform {

namespace {

constexpr std::size_t bufferSize = 65536;
constexpr std::int64_t backgroundPause = 250'000;  // microseconds between two looks whether we are in the foreground
constexpr std::int64_t firstPause = 50;            // microseconds between two looks whether the reader has read …
constexpr std::int64_t longestPause = 250'000;     // … which grow while it does not
constexpr std::int64_t pauseAfterFailure = 10'000; // microseconds
constexpr int forever = -1;

bool inTerminalsBackground() {
    return isatty(STDIN_FILENO) == 1 && tcgetsid(STDIN_FILENO) == getsid(0) && tcgetpgrp(STDIN_FILENO) != getpgrp();
}

bool wouldBlock(int error) {
    return error == EAGAIN || error == EWOULDBLOCK;
}

/// How the input is read, depending on what can be left for the other processes that share it.
enum class Kind { file, pipe, other };

Kind kindOfInput() {
    struct stat status {};
    if (fstat(STDIN_FILENO, &status) != 0) {
        return Kind::other;
    }
    return S_ISREG(status.st_mode) ? Kind::file : S_ISFIFO(status.st_mode) ? Kind::pipe : Kind::other;
}

} // namespace

/// What the thread and `end` share. What the reader has not read yet stays in the input if that is a file or a pipe.
class InputForwarding::State {
public:
    explicit State(FileDescriptor pipe) : pipe_(std::move(pipe)), buffer_(bufferSize) {
        const bool neverBlocks = fcntl(pipe_.get(), F_SETFL, O_NONBLOCK) == 0; // written to under the lock
        kind_ = neverBlocks && unreadBytes(pipe_.get()) >= 0 ? kindOfInput() : Kind::other;
    }

    void begin() { begun_.unlockWithCondition(1); }
    void run();
    void end();

private:
    enum class Result { passedOn, nothing, over };

    [[nodiscard]] bool hasReader(int milliseconds) const;
    [[nodiscard]] bool awaitRoom() const;
    [[nodiscard]] bool awaitTaken();
    [[nodiscard]] std::size_t unread() const { return static_cast<std::size_t>(std::max(unreadBytes(pipe_.get()), 0)); }
    [[nodiscard]] bool awaitInput() const;
    [[nodiscard]] Result passOn();
    [[nodiscard]] Result copyFile();
    [[nodiscard]] Result copyInputPipe();
    [[nodiscard]] Result move();
    void takeWhatWasRead();

    ConditionLock begun_{0};
    std::mutex mutex_; // guards the input, so that it is not read after the end; not held while the thread waits
    bool ended_ = false;
    FileDescriptor pipe_;
    Kind kind_ = Kind::other;
    std::size_t outstanding_ = 0; // bytes that were written to the pipe and are still in the input
    std::vector<char> buffer_;    // used by the thread alone
};

/// Waits for at most `milliseconds`; false once the pipe has no reader any more.
bool InputForwarding::State::hasReader(int milliseconds) const {
    pollfd reader{pipe_.get(), 0, 0}; // errors are always reported
    return poll(&reader, 1, milliseconds) <= 0;
}

/// Waits until the pipe accepts more; false once it has no reader any more.
bool InputForwarding::State::awaitRoom() const {
    for (;;) {
        pollfd reader{pipe_.get(), POLLOUT, 0};
        if (poll(&reader, 1, forever) > 0) {
            return (reader.revents & (POLLERR | POLLNVAL)) == 0;
        }
        if (errno != EINTR) {
            sleepMicroseconds(pauseAfterFailure);
        }
    }
}

/// Waits until the reader has read everything that is still in the input; false if there is no reader any more.
bool InputForwarding::State::awaitTaken() {
    std::size_t left = outstanding_;
    for (std::int64_t pause = firstPause;; pause = std::min(2 * pause, longestPause)) {
        {
            const std::lock_guard lock(mutex_);
            if (ended_) {
                return false;
            }
            const std::size_t now = unread();
            if (now == 0 || outstanding_ == 0) {
                takeWhatWasRead();
                break;
            }
            pause = now < left ? firstPause : pause;
            left = now;
        }
        constexpr std::int64_t millisecond = 1000;
        if (pause < millisecond) {
            sleepMicroseconds(pause);
        }
        if (!hasReader(static_cast<int>(pause / millisecond))) {
            return false;
        }
    }
    return awaitRoom();
}

/// Waits until data or the end can be read from the input; false if the pipe has no reader any more.
bool InputForwarding::State::awaitInput() const {
    for (;;) {
        std::array<pollfd, 2> ends{{{STDIN_FILENO, POLLIN, 0}, {pipe_.get(), 0, 0}}};
        const int ready = poll(ends.data(), ends.size(), forever);
        if (ready > 0) {
            return ends[1].revents == 0;
        }
        if (errno != EINTR) {
            sleepMicroseconds(pauseAfterFailure);
        }
    }
}

InputForwarding::State::Result InputForwarding::State::copyFile() {
    const off_t position = lseek(STDIN_FILENO, 0, SEEK_CUR);
    const ssize_t count = uninterrupted([&] { return pread(STDIN_FILENO, buffer_.data(), buffer_.size(), position); });
    if (count <= 0) {
        return Result::over;
    }
    // The pipe is empty; what it does not accept now is written later.
    const ssize_t written =
        uninterrupted([&] { return write(pipe_.get(), buffer_.data(), static_cast<std::size_t>(count)); });
    outstanding_ = written > 0 ? static_cast<std::size_t>(written) : 0;
    return written > 0 ? Result::passedOn : Result::over;
}

InputForwarding::State::Result InputForwarding::State::copyInputPipe() {
    const ssize_t count = uninterrupted([&] { return copyPipe(STDIN_FILENO, pipe_.get()); });
    if (count > 0) {
        outstanding_ = static_cast<std::size_t>(count);
        return Result::passedOn;
    }
    if (count < 0 && (errno == ENOSYS || errno == EINVAL)) {
        kind_ = Kind::other;
        return Result::nothing;
    }
    return count < 0 && wouldBlock(errno) ? Result::nothing : Result::over;
}

/// Reads once and writes what was read. It may wait for input if another process was faster, and for the reader.
InputForwarding::State::Result InputForwarding::State::move() {
    const ssize_t count = uninterrupted([&] { return read(STDIN_FILENO, buffer_.data(), buffer_.size()); });
    if (count > 0) {
        const bool written = writeAll(pipe_.get(), {buffer_.data(), static_cast<std::size_t>(count)});
        return written ? Result::passedOn : Result::over;
    }
    if (count < 0 && wouldBlock(errno)) {
        return Result::nothing; // another process that shares the descriptor made it non-blocking
    }
    if (count < 0 && errno == EIO && inTerminalsBackground()) {
        sleepMicroseconds(backgroundPause);
        return Result::nothing;
    }
    return Result::over;
}

InputForwarding::State::Result InputForwarding::State::passOn() {
    if (kind_ == Kind::other) {
        return move();
    }
    const std::lock_guard lock(mutex_);
    if (ended_) {
        return Result::over;
    }
    return kind_ == Kind::file ? copyFile() : copyInputPipe();
}

/// Removes from the input what the reader of the pipe has read.
void InputForwarding::State::takeWhatWasRead() {
    std::size_t taken = outstanding_ - std::min(outstanding_, unread());
    outstanding_ -= taken;
    if (kind_ == Kind::file) {
        lseek(STDIN_FILENO, static_cast<off_t>(taken), SEEK_CUR);
        return;
    }
    while (taken > 0) {
        int available = 0; // less if another process has read from the input meanwhile
        if (ioctl(STDIN_FILENO, FIONREAD, &available) != 0 || available <= 0) {
            return;
        }
        const std::size_t size = std::min({taken, buffer_.size(), static_cast<std::size_t>(available)});
        const ssize_t count = uninterrupted([&] { return read(STDIN_FILENO, buffer_.data(), size); });
        if (count <= 0) {
            return;
        }
        taken -= static_cast<std::size_t>(count);
    }
}

void InputForwarding::State::run() {
    begun_.lockWhenCondition(1);
    while (awaitTaken() && awaitInput() && passOn() != Result::over) {
    }
    const std::lock_guard lock(mutex_);
    if (!ended_) {
        takeWhatWasRead();
        ended_ = true;
    }
    pipe_.reset();
}

void InputForwarding::State::end() {
    const std::lock_guard lock(mutex_);
    if (!ended_) {
        takeWhatWasRead();
        ended_ = true;
    }
}

void InputForwarding::prepare(FileDescriptor pipe) {
    state_ = std::make_shared<State>(std::move(pipe));
    // With SIGTTIN blocked, a read in the terminal's background fails instead of stopping the whole process.
    const SignalsBlocked blocked;
    Thread([state = state_] { state->run(); }).detach();
}

void InputForwarding::begin() {
    state_->begin();
}

void InputForwarding::end() {
    state_->end();
}

void awaitEndOfStandardInput() {
    constexpr std::size_t pieceSize = 512;
    std::array<char, pieceSize> ignored{};
    while (uninterrupted([&] { return ::read(STDIN_FILENO, ignored.data(), ignored.size()); }) > 0) {
    }
}

} // namespace kestrav::platform
