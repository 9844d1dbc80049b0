#pragma once

#include_next <dlfcn.h>

/// Exists only on macOS.
inline bool dlopen_preflight(const char *path) {
    void *library = dlopen(path, RTLD_LAZY);
    return library != nullptr && dlclose(library) == 0;
}
