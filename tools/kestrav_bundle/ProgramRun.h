#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kestrav::tools {

/// What became of a program that was started.
struct ProgramRun {
    enum class End { notStarted, timedOut, exited };
    End end = End::notStarted;
    bool succeeded = false; ///< it exited with status 0
    std::string output;     ///< and errors
};

/// Starts a program in a folder, into which its output is written, and waits for its end, as long as `patience` lasts.
/// Environment variables that change the options of every Java program are left out. Raises `Interrupted` after a
/// signal.
[[nodiscard]] ProgramRun runProgram(const std::string &program, const std::vector<std::string> &arguments,
                                    const std::string &folder, std::chrono::seconds patience = std::chrono::minutes(1));

/// The lines of a program's output that are not empty.
[[nodiscard]] std::vector<std::string> linesIn(std::string_view output);

/// The absolute path of the program that the user's PATH has under this name.
[[nodiscard]] std::optional<std::string> programInPath(const std::string &name);

} // namespace kestrav::tools
