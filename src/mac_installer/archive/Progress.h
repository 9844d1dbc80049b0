#pragma once

#include <functional>

namespace kestrav {

/// Called with the progress of a step in percent: normally 0 to 100, more if the expected amount was too small. Called
/// on the thread that does the work; what it throws ends the step and reaches the step's caller.
using ProgressCallback = std::function<void(double percent)>;

} // namespace kestrav
