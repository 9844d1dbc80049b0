#pragma once

/// Exists only on macOS; this machine has no such settings.
inline int sysctlbyname(const char *, void *, unsigned long *, void *, unsigned long) {
    return -1;
}
