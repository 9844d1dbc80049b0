#pragma once

#include_next <dlfcn.h>

/// Of macOS alone.
inline bool dlopen_preflight(const char *path) {
    void *library = dlopen(path, RTLD_LAZY);
    return library != nullptr && dlclose(library) == 0;
}
