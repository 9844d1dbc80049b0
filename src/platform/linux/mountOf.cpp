#include "platform/posix/mountOf.h"

#include <fcntl.h>
#include <sys/stat.h>

namespace kestrav::platform {

std::uint64_t mountOf(int directory) {
    struct statx found {};
    if (::statx(directory, "", AT_EMPTY_PATH, STATX_MNT_ID, &found) == 0 && (found.stx_mask & STATX_MNT_ID) != 0) {
        return found.stx_mnt_id;
    }
    struct stat status {}; // of kernels before 5.8: a folder mounted a second time has the same device
    return ::fstat(directory, &status) == 0 ? status.st_dev : 0;
}

} // namespace kestrav::platform
