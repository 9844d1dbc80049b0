#include "platform/ErrorCopy.h"

#include "platform/Clock.h"
#include "platform/Executable.h"
#include "platform/ProcessInfo.h"
#include "platform/uninterrupted.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <string_view>

namespace kestrav::platform {

namespace {

constexpr int forever = -1;

/// True if the socket is the journal's: the one that the environment names, or one whose other end has its address.
bool isJournal(int descriptor, const struct stat &status) {
    const std::string name = std::to_string(status.st_dev) + ":" + std::to_string(status.st_ino);
    if (ProcessInfo::processInfo().environmentVariable("JOURNAL_STREAM") == name) {
        return true;
    }
    sockaddr_un peer{};
    socklen_t size = sizeof peer - 1; // the path ends with a NUL, whatever its length
    if (getpeername(descriptor, reinterpret_cast<sockaddr *>(&peer), &size) != 0 || peer.sun_family != AF_UNIX) {
        return false;
    }
    const std::string_view path = static_cast<const char *>(peer.sun_path);
    return path.starts_with("/run/systemd/journal") && path.ends_with("/stdout");
}

/// The last bytes of what was added. Uses no memory of the heap, which may be exhausted.
class LastBytes {
public:
    void add(std::string_view bytes) {
        bytes.remove_prefix(bytes.size() - std::min(bytes.size(), bytes_.size()));
        const std::size_t excess = size_ - std::min(size_, bytes_.size() - bytes.size());
        std::copy(bytes_.data() + excess, bytes_.data() + size_, bytes_.data());
        size_ -= excess;
        bytes.copy(bytes_.data() + size_, bytes.size());
        size_ += bytes.size();
    }
    [[nodiscard]] std::string_view text() const { return {bytes_.data(), size_}; }

private:
    std::array<char, ErrorCopy::capacity> bytes_{};
    std::size_t size_ = 0;
};

/// Copies what can be read at once; false at the end. If our standard error takes nothing any more, it is thrown away.
bool copySome(LastBytes &last) {
    static std::array<char, 65536> buffer;
    const ssize_t count = uninterrupted([] { return ::read(Task::keptDescriptor, buffer.data(), buffer.size()); });
    if (count <= 0) {
        return false;
    }
    const std::string_view bytes(buffer.data(), static_cast<std::size_t>(count));
    last.add(bytes);
    static_cast<void>(writeAll(STDERR_FILENO, bytes));
    return true;
}

/// Copies what has been written until now.
void copyRest(LastBytes &last) {
    constexpr int mostPieces = 32; // more than a pipe holds; others may write all the time
    pollfd errors{Task::keptDescriptor, POLLIN, 0};
    for (int i = 0; i < mostPieces && poll(&errors, 1, 0) > 0 && copySome(last); ++i) {
    }
}

void answer(const LastBytes &last) {
    static_cast<void>(writeAll(STDOUT_FILENO, last.text())); // fails if the process that asked is gone
    close(STDOUT_FILENO);
}

} // namespace

const char *const ErrorCopy::marker = "__ksv_copy_errors";

bool standardErrorIsUnseen() {
    struct stat status {};
    struct stat null {};
    if (fstat(STDERR_FILENO, &status) != 0) {
        return errno == EBADF;
    }
    if (S_ISSOCK(status.st_mode)) {
        return isJournal(STDERR_FILENO, status);
    }
    return S_ISCHR(status.st_mode) && stat("/dev/null", &null) == 0 && status.st_rdev == null.st_rdev;
}

ErrorCopy::ErrorCopy() : copier_(executablePath(), {marker}) {
    copier_.setStandardInput(question_.readEnd.get());
    copier_.setStandardOutput(answer_.writeEnd.get());
    copier_.keepOpen(errors_.readEnd.get());
    copier_.launch();
    copier_.leave();
    for (FileDescriptor *ofCopier : {&question_.readEnd, &answer_.writeEnd, &errors_.readEnd}) {
        ofCopier->reset();
    }
}

std::string ErrorCopy::takeLast() {
    constexpr std::int64_t patience = 1000; // milliseconds
    constexpr std::int64_t nanosecondsInOne = 1'000'000;
    const std::int64_t begin = monotonicNanoseconds();
    question_.writeEnd.reset();
    std::string last;
    std::array<char, capacity> piece{};
    for (;;) {
        const std::int64_t left = patience - (monotonicNanoseconds() - begin) / nanosecondsInOne;
        pollfd answer{answer_.readEnd.get(), POLLIN, 0};
        if (left <= 0 || uninterrupted([&] { return poll(&answer, 1, static_cast<int>(left)); }) <= 0) {
            return last;
        }
        const ssize_t count = uninterrupted([&] { return ::read(answer.fd, piece.data(), piece.size()); });
        if (count <= 0) {
            return last;
        }
        last.append(piece.data(), static_cast<std::size_t>(count));
    }
}

void copyErrors() {
    for (const int number : {SIGHUP, SIGINT, SIGQUIT, SIGTERM}) {
        std::signal(number, SIG_IGN); // those that write may still have something to say about it
    }
    static LastBytes last;
    std::array<pollfd, 2> ends{{{Task::keptDescriptor, POLLIN, 0}, {STDIN_FILENO, POLLIN, 0}}};
    for (;;) {
        constexpr std::int64_t pauseAfterFailure = 10'000; // microseconds
        if (uninterrupted([&] { return poll(ends.data(), ends.size(), forever); }) < 0) {
            sleepMicroseconds(pauseAfterFailure);
        } else if (ends[1].revents != 0) {
            copyRest(last);
            answer(last);
            ends[1].fd = -1; // no longer looked at
        } else if (ends[0].revents != 0 && !copySome(last)) {
            return answer(last);
        }
    }
}

} // namespace kestrav::platform
