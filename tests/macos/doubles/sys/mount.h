#pragma once

#include <sys/vfs.h>

/// Exists only on macOS; this machine has the flag under another name.
#define MNT_NOEXEC 0x8
