#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

namespace kestrav::tools {

/// A program that is started without input. Environment variables that change the options of every Java program are
/// left out.
struct ChildStart {
    std::string program;
    std::vector<std::string> arguments;
    std::string folder; ///< in which it runs; empty: that of this process
    std::string output; ///< the file for its output and errors; empty: those of this process
};

/// A child in a process group of its own, which is killed with this object.
class ChildProcess {
public:
    explicit ChildProcess(const ChildStart &start);
    ChildProcess(const ChildProcess &) = delete;
    ChildProcess &operator=(const ChildProcess &) = delete;
    ~ChildProcess();

    [[nodiscard]] bool started() const { return pid_ > 0; }

    /// Asks it to end.
    void terminate() const;

    /// Its status as `waitpid` tells it, once it has ended.
    [[nodiscard]] std::optional<int> status();

private:
    pid_t pid_ = -1;
};

} // namespace kestrav::tools
