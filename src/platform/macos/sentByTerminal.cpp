#include "platform/posix/sentByTerminal.h"

#include <fcntl.h>
#include <unistd.h>

namespace kestrav::platform {

/// The system does not say where a signal comes from. With the terminal's foreground group being ours it counts as the
/// terminal's, because a key is by far the most likely origin.
bool sentByTerminal(int number, const siginfo_t * /*info*/) {
    if (number != SIGINT && number != SIGQUIT) {
        return false;
    }
    const int terminal = open("/dev/tty", O_RDONLY | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    if (terminal < 0) {
        return false;
    }
    const bool inForeground = tcgetpgrp(terminal) == getpgrp();
    close(terminal);
    return inForeground;
}

} // namespace kestrav::platform
