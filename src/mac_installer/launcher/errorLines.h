#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kestrav {

/// The lines that a program has written to standard error, as they can be shown: with only scheme, host and path of
/// addresses, without what may be passwords, and with "~" for the user's home. `errors` are the last bytes of it.
[[nodiscard]] std::vector<std::string> errorLines(std::string_view errors);

/// The last of these lines, as many as a notice has room for, and the beginnings of long ones. If there are too many, a
/// stack's are left out first, because the line above them says more.
[[nodiscard]] std::string lastOfErrors(std::vector<std::string> lines);

} // namespace kestrav
