#include "platform/posix/closeOtherDescriptors.h"

namespace kestrav::platform {

int closeOtherDescriptors(posix_spawn_file_actions_t &actions, short & /*flags*/, int first) {
    return posix_spawn_file_actions_addclosefrom_np(&actions, first);
}

} // namespace kestrav::platform
