#pragma once

// A process that becomes the Java program never has a window. Where a runtime has to be obtained first, a second
// process of the same executable does that, behind the progress window, into the place where the runtime is kept, and
// ends.

namespace kestrav {

/// The only argument of the second process.
inline constexpr const char *obtainRuntimeMarker = "__ksv_obtain_runtime";

/// What the second process ends with.
enum class Obtained {
    yes = 0,
    no = 1,     ///< it was cancelled, or failed and has said so
    notKept = 2 ///< nothing can be kept, so that nothing was obtained
};

/// Has a second process obtain the runtime, and waits for it. Signals of termination are passed on to it meanwhile; it
/// ends with this process. Raises if it has not come to an end of its own. Only while the process has one thread.
[[nodiscard]] Obtained obtainInSecondProcess();

} // namespace kestrav
