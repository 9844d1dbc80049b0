// Stands in for a runtime's bin/java: reports how it was started, then does what its environment asks for.
//   FAKE_REPORT=FILE    write the report there (NUL-separated "key=value", in place only when it is complete)
//   FAKE_STDIN=FILE     copy standard input to the file until its end
//   FAKE_STDIN_SIZE=N   but read no more than so many bytes
//   FAKE_SIGNALS=FILE   append the name of every SIGINT, SIGQUIT, SIGHUP, SIGUSR1 and SIGTERM; the last ends with 7
//   FAKE_PAUSE=1        wait until a signal ends the process
//   FAKE_DIE=N          die from signal N
//   FAKE_EXIT=N         exit status

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>

namespace {

constexpr unsigned ownLimit = 300; // seconds: whatever happens to the test, this process does not stay
constexpr int lastDescriptor = 255;

std::string reportText(int argc, char **argv) {
    std::string text;
    const auto add = [&](const std::string &key, const std::string &value) { text += key + "=" + value + '\0'; };
    for (int i = 0; i < argc; ++i) {
        add("argument", argv[i]);
    }
    for (char **entry = environ; *entry != nullptr; ++entry) {
        add("environment", *entry);
    }
    add("directory", std::filesystem::current_path().string());
    for (int descriptor = 0; descriptor <= lastDescriptor; ++descriptor) {
        if (fcntl(descriptor, F_GETFD) >= 0) {
            add("descriptor", std::to_string(descriptor));
        }
    }
    sigset_t mask;
    sigprocmask(SIG_BLOCK, nullptr, &mask);
    for (int number = 1; number < NSIG; ++number) {
        struct sigaction action {};
        const bool ignored = sigaction(number, nullptr, &action) == 0 && action.sa_handler != SIG_DFL;
        if (ignored || sigismember(&mask, number) == 1) {
            add("signal", std::to_string(number));
        }
    }
    return text;
}

void copyStandardInput(const char *path) {
    const int file = open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    const char *limit = std::getenv("FAKE_STDIN_SIZE");
    std::size_t left = limit == nullptr ? SIZE_MAX : std::stoul(limit);
    std::array<char, 65536> buffer{};
    for (ssize_t count = 0; (count = read(STDIN_FILENO, buffer.data(), std::min(buffer.size(), left))) > 0;) {
        if (write(file, buffer.data(), static_cast<std::size_t>(count)) != count) {
            std::abort();
        }
        left -= static_cast<std::size_t>(count);
    }
}

[[noreturn]] void recordSignals(const char *path, const sigset_t &signals) {
    for (;;) {
        int number = 0;
        sigwait(&signals, &number);
        std::ofstream(path, std::ios::app) << std::string(sigabbrev_np(number)) + ' ';
        if (number == SIGTERM) {
            std::_Exit(7);
        }
    }
}

} // namespace

int main(int argc, char **argv) {
    alarm(ownLimit);
    const rlimit noCore{0, 0};
    setrlimit(RLIMIT_CORE, &noCore);
    const std::string report = reportText(argc, argv);
    sigset_t signals;
    sigemptyset(&signals);
    const char *signalFile = std::getenv("FAKE_SIGNALS");
    for (const int number : {SIGINT, SIGQUIT, SIGHUP, SIGUSR1, SIGTERM}) {
        sigaddset(&signals, number);
    }
    if (signalFile != nullptr) {
        sigprocmask(SIG_BLOCK, &signals, nullptr);
    }
    if (const char *path = std::getenv("FAKE_REPORT")) {
        const std::string unfinished = std::string(path) + ".part";
        std::ofstream(unfinished, std::ios::binary) << report;
        std::filesystem::rename(unfinished, path);
    }

    if (const char *path = std::getenv("FAKE_STDIN")) {
        copyStandardInput(path);
    }
    if (signalFile != nullptr) {
        recordSignals(signalFile, signals);
    }
    if (std::getenv("FAKE_PAUSE") != nullptr) {
        pause();
    }
    if (const char *number = std::getenv("FAKE_DIE")) {
        raise(std::atoi(number));
    }
    const char *status = std::getenv("FAKE_EXIT");
    return status == nullptr ? 0 : std::atoi(status);
}
