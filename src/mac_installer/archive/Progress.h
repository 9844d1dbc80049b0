#pragma once

#include <functional>
#include <optional>
#include <string>

namespace kestrav {

/// Told how far a step has come: percent (nominally 0 to 100, more when the expected amount was too small) and
/// sometimes a text. Called on the thread that does the work; what it throws ends the step and reaches its caller.
using ProgressCallback = std::function<void(double percent, const std::optional<std::string> &text)>;

} // namespace kestrav
