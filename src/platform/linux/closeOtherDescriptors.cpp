#include "platform/posix/closeOtherDescriptors.h"

#include <unistd.h>

namespace kestrav::platform {

int closeOtherDescriptors(posix_spawn_file_actions_t &actions, short & /*flags*/) {
    return posix_spawn_file_actions_addclosefrom_np(&actions, STDERR_FILENO + 1);
}

} // namespace kestrav::platform
