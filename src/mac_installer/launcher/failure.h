#pragma once

#include "platform/Exception.h"

#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

// The top of each mode: a failure that was not handled below is shown, logged, and ends the process.

namespace kestrav {

/// A failure with a notice of its own.
class NoticeException final : public platform::Exception {
public:
    /// The key of the message, what it is filled with, and the reason for the log.
    NoticeException(std::string key, std::vector<std::string> infos, const std::string &reason)
        : Exception("NoticeException", reason), key_(std::move(key)), infos_(std::move(infos)) {}

    [[nodiscard]] const std::string &key() const { return key_; }
    [[nodiscard]] const std::vector<std::string> &infos() const { return infos_; }

private:
    std::string key_;
    std::vector<std::string> infos_;
};

/// Shows the notice of a failure, of an unexpected one with what the exception says, and then writes the failure to the
/// system log with the call stack of the place that raised it; standard error shows the stack only with
/// KESTRAV_LOG=yes. Without the memory for that a plain line is written to standard error.
void reportFailure(const char *signature, int line, const std::exception &exception) noexcept;

/// Says on standard error that something could not be removed, where there is no memory to log it.
void tellOfRemainder(std::string_view path) noexcept;

/// For `std::set_terminate`: an exception that could not be caught, or could not be raised for want of memory, ends the
/// process with a line on standard error and status 1.
[[noreturn]] void endUnexpectedly() noexcept;

/// The signature under which the top of bootstrap mode logs a failure.
inline constexpr const char *bootstrapSignature = "int main(int, char **)";

/// The status that `body` returns, or 1 after a failure in it, which is reported.
[[nodiscard]] int statusOf(const char *signature, const std::function<int()> &body);

/// Calls `body`; a failure in it is reported and ends the process with status 1.
void endOnFailure(const char *signature, const std::function<void()> &body);

} // namespace kestrav
