#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

// A failed start tells people twice: in a notice, and at length in a log file of the application's that only failed
// starts write, so that it can be sent to the application's maker.

namespace kestrav {

/// Appends lines to that file, under the time and the application's path, and returns the file's path; empty if it
/// cannot be written. A line's control characters are escaped. Any thread.
std::optional<std::string> recordFailedStart(const std::vector<std::string> &lines);

/// Records the message and the details, shows the message as a notice under the application's name, and adds the
/// file's path to it. `recordMessage` is the text around the path ("%@"), or empty for the path alone.
void tellOfFailedStart(const std::string &message, const std::vector<std::string> &details,
                       std::string_view recordMessage);

} // namespace kestrav
