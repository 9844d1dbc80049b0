#pragma once

#include <cstdint>
#include <string_view>

// A Java program that ends soon after its start with a status other than 0 has not come up. A person who has started it
// from a desktop sees nothing of what Java says about that, and gets a notice.

namespace kestrav {

/// True if nobody sees standard error, but there is a desktop, for a notice or at least for somebody who looks for the
/// log of failed starts there.
[[nodiscard]] bool explainsEarlyEnds();

/// True if a program that ends with that status, so long after its start, has not come up.
[[nodiscard]] bool isEarlyEnd(int status, std::int64_t nanoseconds);

/// Shows the notice of a child that has not come up: its status, and the last of what it has written to standard error,
/// which the log of failed starts gets as well.
void displayEarlyEnd(int status, std::string_view errors);

/// The same for a program that was to be in this process, if `explainsEarlyEnds`. Once in a process.
void displayEarlyReturn(int status) noexcept;

} // namespace kestrav
