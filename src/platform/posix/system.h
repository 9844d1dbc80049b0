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

/// Makes sure that a child inherits no descriptor from `first` on (which is above the standard three), not even one
/// that a library has just opened without the close-on-exec flag. To be called after all other file actions; adds to
/// `flags`, which are set afterwards. Returns 0 or an error number.
[[nodiscard]] int closeOtherDescriptors(posix_spawn_file_actions_t &actions, short &flags, int first);

/// Copies what a pipe holds into another one without taking it from the first. Never blocks. Returns the number of
/// bytes, 0 at the first pipe's end, or -1 with errno set: EAGAIN if there is nothing to copy, ENOSYS or EINVAL where
/// the system cannot do it.
[[nodiscard]] ssize_t copyPipe(int from, int to);

/// The number of bytes in a pipe that have not been read yet, asked at its write end; below 0 where the system cannot
/// say.
[[nodiscard]] int unreadBytes(int writeEnd);

/// True if the file system is mounted so that no program on it can be started.
[[nodiscard]] bool forbidsPrograms(int directory);

/// A number that differs between mounted file systems and, where the system can tell, between two places at which the
/// same folder is mounted. 0 if the system does not say.
[[nodiscard]] std::uint64_t mountOf(int directory);

} // namespace kestrav::platform
