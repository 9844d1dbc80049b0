#pragma once

#include <csignal>

namespace kestrav::platform {

/// True if the signal comes from a key on the terminal, which sends it to the whole foreground group. Called in the
/// signal's handler.
[[nodiscard]] bool sentByTerminal(int number, const siginfo_t *info);

} // namespace kestrav::platform
