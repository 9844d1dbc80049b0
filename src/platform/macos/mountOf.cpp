#include "platform/posix/mountOf.h"

#include <sys/stat.h>

namespace kestrav::platform {

std::uint64_t mountOf(int directory) {
    struct stat status {};
    return ::fstat(directory, &status) == 0 ? static_cast<std::uint64_t>(status.st_dev) : 0;
}

} // namespace kestrav::platform
