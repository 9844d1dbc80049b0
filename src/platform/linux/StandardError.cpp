#include "platform/linux/StandardError.h"

#include "platform/FileDescriptor.h"
#include "platform/linux/TerminalProgress.h"

#include <unistd.h>

#include <atomic>

namespace kestrav::platform {

bool writeToStandardError(std::string_view lines) {
    constexpr int patience = 1000; // milliseconds
    static std::atomic<bool> stuck = false;
    TerminalProgress::erase();
    const bool written = writeWithin(STDERR_FILENO, lines, stuck ? 0 : patience);
    stuck = !written;
    return written;
}

} // namespace kestrav::platform
