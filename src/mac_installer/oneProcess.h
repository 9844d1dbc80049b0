#pragma once

#include <optional>

// An application in one process: the process that was started becomes the Java program, without a window of its own. On
// macOS nothing of the window system is touched before, so that the program's own toolkit becomes the application.

namespace kestrav {

/// True if the application's configuration asks for one process ("ksv.inProcess").
[[nodiscard]] bool wantsOneProcess();

/// Finds a runtime and runs the Java program inside this process; returns its exit status, or 1 after a notice. Empty
/// if a runtime has to be obtained first, which needs the window. Only while the process has one thread.
[[nodiscard]] std::optional<int> becomeJavaProgram();

} // namespace kestrav
