#pragma once

#include <optional>

// An application in one process: the process that was started becomes the Java program, without a window of its own. On
// macOS nothing of the window system is touched before, so that the program's own toolkit becomes the application.

namespace kestrav {

/// True if the application's configuration asks for one process ("ksv.inProcess").
[[nodiscard]] bool wantsOneProcess();

/// Finds a runtime, or has a second process obtain one that is kept, and runs the Java program inside this process;
/// returns its exit status, or 1 after a cancel or a notice. Empty if the runtime cannot be kept, so that the program
/// has to be a child. Only while the process has one thread.
[[nodiscard]] std::optional<int> becomeJavaProgram();

} // namespace kestrav
