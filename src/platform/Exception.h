#pragma once

#include <exception>
#include <string>
#include <vector>

namespace kestrav::platform {

/// The error that crosses layers when an operation cannot continue: a name that identifies its kind, a reason for
/// people to read, and the call stack of the place that raised it. A copy keeps the stack.
class Exception : public std::exception {
public:
    /// Records the caller's call stack. An empty reason is allowed (a cancellation has nothing to say).
    Exception(std::string name, std::string reason);

    [[nodiscard]] const std::string &name() const noexcept { return name_; }
    [[nodiscard]] const std::string &reason() const noexcept { return reason_; }

    /// One string per frame, innermost first: index, module, address and, where known, the symbol.
    [[nodiscard]] const std::vector<std::string> &callStackSymbols() const noexcept { return callStackSymbols_; }

    /// The reason, or the name where there is no reason.
    [[nodiscard]] const char *what() const noexcept override;

private:
    std::string name_;
    std::string reason_;
    std::vector<std::string> callStackSymbols_;
};

/// The name of an exception for a value of the wrong type or form.
inline constexpr const char *InvalidArgumentException = "InvalidArgumentException";

} // namespace kestrav::platform
