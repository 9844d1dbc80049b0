#pragma once

#include <spawn.h>
#include <sys/types.h>

#include <csignal>
#include <cstdint>

// The few questions about descriptors and signals that each system answers in its own way.

namespace kestrav::platform {

/// True if the signal comes from a key on the terminal, which sends it to the whole foreground group. Called in the
/// signal's handler.
[[nodiscard]] bool sentByTerminal(int number, const siginfo_t *info);

/// Keeps every descriptor from `first` on, which lies above the standard three, from a child, also one that a library
/// has just opened without the close-on-exec flag. To be called after all other file actions; adds to `flags`, which
/// are set afterwards. 0 or an error number.
[[nodiscard]] int closeOtherDescriptors(posix_spawn_file_actions_t &actions, short &flags, int first);

/// Copies what a pipe holds into another one without taking it from the first. Never blocks. The number of bytes, 0 at
/// the first one's end, or -1 with errno set: EAGAIN if there is nothing to copy, ENOSYS or EINVAL where the system
/// cannot do it.
[[nodiscard]] ssize_t copyPipe(int from, int to);

/// How many bytes in a pipe nobody has read yet, asked at its write end; below 0 where the system does not tell.
[[nodiscard]] int unreadBytes(int writeEnd);

/// Tells the file systems that are mounted below one another apart; where one folder is mounted in a second place too,
/// also these, if the system can. 0 if it does not say.
[[nodiscard]] std::uint64_t mountOf(int directory);

} // namespace kestrav::platform
