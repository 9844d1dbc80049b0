#include "platform/DynamicLibrary.h"

#include <dlfcn.h>

namespace kestrav::platform {

DynamicLibrary::DynamicLibrary(const std::string &path) {
    // A name without a slash would be searched for.
    const std::string file = path.find('/') == std::string::npos ? "./" + path : path;
    handle_ = ::dlopen(file.c_str(), RTLD_LAZY);
    if (handle_ == nullptr) {
        const char *reason = ::dlerror();
        error_ = reason == nullptr ? "unknown error" : reason;
    }
}

void *DynamicLibrary::address(const char *name) const {
    return ::dlsym(handle_, name);
}

} // namespace kestrav::platform
