#pragma once

#include <sys/types.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>

namespace kestrav::tests {

/// A program that runs beside the test until this object is destroyed or the test ends.
class Program {
public:
    /// Starts a shell command and returns once it has printed a line.
    explicit Program(const std::string &command)
        : output_(popen(("echo $$; exec setpriv --pdeathsig KILL " + command + " 2>/dev/null").c_str(), "re")),
          pid_(std::atoi(readLine().c_str())), firstLine_(readLine()) {
        if (firstLine_.empty()) {
            end();
            throw std::runtime_error(command + " did not start");
        }
    }
    Program(const Program &) = delete;
    Program &operator=(const Program &) = delete;
    ~Program() { end(); }

    [[nodiscard]] const std::string &firstLine() const { return firstLine_; }

private:
    [[nodiscard]] std::string readLine() const {
        std::array<char, 256> line{};
        const bool read = output_ != nullptr && fgets(line.data(), line.size(), output_) != nullptr;
        const std::string text = read ? line.data() : "";
        return text.substr(0, text.find('\n'));
    }
    void end() const {
        if (pid_ > 0) {
            kill(pid_, SIGKILL);
        }
        if (output_ != nullptr) {
            pclose(output_);
        }
    }

    FILE *output_;
    pid_t pid_;
    std::string firstLine_;
};

} // namespace kestrav::tests
