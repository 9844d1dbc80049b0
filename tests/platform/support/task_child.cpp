// What the tests of Task start. Modes: exit STATUS, raise SIGNAL, wait (for a signal), report FILE.

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>

extern char **environ;

namespace {

/// Writes what the process was started with, one thing a line.
void report(const char *file, int argc, char **argv) {
    std::string text;
    for (int descriptor = 3; descriptor < 1024; ++descriptor) {
        if (fcntl(descriptor, F_GETFD) >= 0) {
            text += "descriptor " + std::to_string(descriptor) + "\n";
        }
    }
    sigset_t mask;
    pthread_sigmask(SIG_SETMASK, nullptr, &mask);
    for (int number = 1; number < 32; ++number) {
        struct sigaction action {};
        if (sigaction(number, nullptr, &action) == 0 && action.sa_handler == SIG_IGN) {
            text += "ignored " + std::to_string(number) + "\n";
        }
        if (sigismember(&mask, number) == 1) {
            text += "blocked " + std::to_string(number) + "\n";
        }
    }
    for (int index = 3; index < argc; ++index) {
        text += "argument " + std::string(argv[index]) + "\n";
    }
    for (char **entry = environ; *entry != nullptr; ++entry) {
        text += "environment " + std::string(*entry) + "\n";
    }
    text += "input " + std::string(std::istreambuf_iterator<char>(std::cin), {}) + "\n";
    std::ofstream(file) << text;
}

} // namespace

int main(int argc, char **argv) {
    const std::string mode = argc > 1 ? argv[1] : "";
    if (mode == "exit") {
        return std::atoi(argv[2]);
    }
    if (mode == "raise") {
        raise(std::atoi(argv[2]));
    } else if (mode == "report") {
        report(argv[2], argc, argv);
        return 0;
    } else if (mode == "wait") {
        pause();
    }
    return 1;
}
