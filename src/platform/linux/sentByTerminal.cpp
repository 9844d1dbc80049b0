#include "platform/posix/sentByTerminal.h"

namespace kestrav::platform {

bool sentByTerminal(int number, const siginfo_t *info) {
    const bool typed = number == SIGINT || number == SIGQUIT;
    return typed && info != nullptr && info->si_pid == 0 && info->si_code != SI_USER;
}

} // namespace kestrav::platform
