#pragma once

#include <functional>

namespace kestrav {

/// Told how far a step has come, in percent: nominally 0 to 100, more when the expected amount was too small. Called on
/// the thread that does the work; what it throws ends the step and reaches its caller.
using ProgressCallback = std::function<void(double percent)>;

} // namespace kestrav
