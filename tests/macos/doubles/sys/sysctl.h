#pragma once

/// Of macOS alone: this machine has no such settings.
inline int sysctlbyname(const char *, void *, unsigned long *, void *, unsigned long) {
    return -1;
}
