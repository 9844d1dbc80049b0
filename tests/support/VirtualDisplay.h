#pragma once

#include "support/TemporaryDirectory.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <vector>

namespace kestrav::tests {

/// An X server without a screen, on a number of its own, with a window manager if wanted. Ends with this object.
class VirtualDisplay {
public:
    explicit VirtualDisplay(bool windowManager) {
        int ends[2];
        if (pipe2(ends, O_CLOEXEC) != 0) {
            throw std::runtime_error("no pipe");
        }
        const int number = ends[1]; // passed on under its own number
        server_ = start({"Xvfb", "-displayfd", std::to_string(number), "-screen", "0", "1280x800x24", "-nolisten",
                         "tcp", "-noreset"},
                        number);
        close(number);
        name_ = ":";
        for (char digit = 0; read(ends[0], &digit, 1) == 1 && digit != '\n';) {
            name_ += digit;
        }
        close(ends[0]);
        if (name_ == ":") {
            throw std::runtime_error("Xvfb did not start");
        }
        if (windowManager) {
            const std::string ready = folder_ / "ready";
            mkfifo(ready.c_str(), 0600);
            manager_ = start({"openbox", "--startup", "sh -c 'echo > " + ready + "'"});
            close(open(ready.c_str(), O_RDONLY)); // blocks until it manages windows
        }
    }
    VirtualDisplay(const VirtualDisplay &) = delete;
    VirtualDisplay &operator=(const VirtualDisplay &) = delete;
    ~VirtualDisplay() { stop(); }

    /// What `DISPLAY` is set to.
    [[nodiscard]] const std::string &name() const { return name_; }

    /// Ends the server, as a crash would.
    void stop() {
        for (pid_t *process : {&manager_, &server_}) {
            if (*process > 0) {
                kill(*process, SIGKILL);
                waitpid(*process, nullptr, 0);
                *process = -1;
            }
        }
    }

    /// Runs a shell command on the display and returns what it prints.
    [[nodiscard]] std::string run(const std::string &command) const {
        FILE *const pipe = popen(("DISPLAY=" + name_ + " " + command + " 2>/dev/null").c_str(), "re");
        std::string output;
        std::array<char, 256> buffer{};
        while (pipe != nullptr && fgets(buffer.data(), buffer.size(), pipe) != nullptr) {
            output += buffer.data();
        }
        if (pipe != nullptr) {
            pclose(pipe);
        }
        return output;
    }

private:
    pid_t start(const std::vector<std::string> &arguments, int inherited = -1) const {
        std::vector<char *> pointers;
        for (const std::string &argument : arguments) {
            pointers.push_back(const_cast<char *>(argument.c_str()));
        }
        pointers.push_back(nullptr);
        const std::string home = "HOME=" + folder_.path();
        const std::string display = "DISPLAY=" + name_;
        const pid_t process = fork();
        if (process == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            const int nothing = open("/dev/null", O_RDWR);
            for (const int descriptor : {0, 1, 2}) {
                dup2(nothing, descriptor);
            }
            if (inherited >= 0) {
                fcntl(inherited, F_SETFD, 0);
            }
            std::array<char *, 4> environment{const_cast<char *>("PATH=/usr/bin:/bin"),
                                              const_cast<char *>(home.c_str()), const_cast<char *>(display.c_str()),
                                              nullptr};
            execvpe(pointers[0], pointers.data(), environment.data());
            _exit(126);
        }
        return process;
    }

    TemporaryDirectory folder_;
    std::string name_;
    pid_t server_ = -1;
    pid_t manager_ = -1;
};

} // namespace kestrav::tests
