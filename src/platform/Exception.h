#pragma once

#include <exception>
#include <string>
#include <vector>

namespace kestrav::platform {

/// What crosses layers when an operation cannot go on: a name to tell kinds apart, a reason for people, and the
/// call stack of the place that raised it. Copying it never throws away the stack.
class Exception : public std::exception {
public:
    /// Records the caller's call stack. An empty reason is allowed (a cancellation has nothing to say).
    Exception(std::string name, std::string reason);

    [[nodiscard]] const std::string &name() const noexcept { return name_; }
    [[nodiscard]] const std::string &reason() const noexcept { return reason_; }

    /// One text a frame, innermost first: index, module, address and, where known, the symbol.
    [[nodiscard]] const std::vector<std::string> &callStackSymbols() const noexcept { return callStackSymbols_; }

    /// The reason, or the name where there is no reason.
    [[nodiscard]] const char *what() const noexcept override;

private:
    std::string name_;
    std::string reason_;
    std::vector<std::string> callStackSymbols_;
};

/// Name of an exception about a value that has the wrong type or shape.
inline constexpr const char *InvalidArgumentException = "InvalidArgumentException";

} // namespace kestrav::platform
