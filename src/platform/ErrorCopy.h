#pragma once

#include "platform/Task.h"

#include <cstddef>
#include <string>

namespace kestrav::platform {

/// True if nobody sees at once what is written to standard error, as in a program that was started from a desktop: it
/// is closed, the null device or the system's journal. False for a terminal, a file or a pipe.
[[nodiscard]] bool standardErrorIsUnseen();

/// Copies what a child writes to its standard error to ours, every byte, and keeps the last of it. A process of its own
/// does that until nobody can write any more. So the child, and those that it starts, never write to a pipe without a
/// reader, not even if they outlive this process.
class ErrorCopy {
public:
    /// The only argument of that process.
    static const char *const marker;
    /// How many bytes are kept.
    static constexpr std::size_t capacity = 8192;

    /// Starts the process. Throws an `Exception` if that is impossible.
    ErrorCopy();

    /// To be the child's standard error.
    [[nodiscard]] int descriptor() const { return errors_.writeEnd.get(); }
    /// To be called once the child has it.
    void closeDescriptor() { errors_.writeEnd.reset(); }

    /// The last bytes that were written until now. Waits for them for at most a second; empty after that. Called once.
    [[nodiscard]] std::string takeLast();

private:
    Pipe errors_;
    Pipe question_; // its end asks for the last bytes …
    Pipe answer_;   // … which come here
    Task copier_;
};

/// What that process does.
void copyErrors();

} // namespace kestrav::platform
