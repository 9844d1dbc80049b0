#include "platform/DynamicLibrary.h"

#include "platform/Machine.h"

#include <dlfcn.h>
#include <sys/stat.h>

namespace kestrav::platform {

DynamicLibrary::DynamicLibrary(const std::string &path) {
    // A name without a slash would be searched for.
    const std::string file = path.find('/') == std::string::npos ? "./" + path : path;
    struct stat status {};
    if (::stat(file.c_str(), &status) == 0 && !S_ISREG(status.st_mode)) {
        error_ = file + ": not a regular file"; // opening a FIFO would wait for ever
        return;
    }
    if (isCutOff(file)) {
        error_ = file + ": file too short";
        return;
    }
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
