#pragma once

#include <string>
#include <vector>

namespace kestrav::tools {

/// What became of a runtime's `java` that was started.
struct JavaRun {
    enum class End { notStarted, timedOut, exited };
    End end = End::notStarted;
    bool succeeded = false; ///< it exited with status 0
    std::string output;     ///< and errors
};

/// Starts a program in a folder, into which its output is written, and waits for its end; a minute at most. Environment
/// variables that change the options of every Java program are left out. Raises `Interrupted` after a signal.
[[nodiscard]] JavaRun runJava(const std::string &java, const std::vector<std::string> &arguments,
                              const std::string &folder);

} // namespace kestrav::tools
