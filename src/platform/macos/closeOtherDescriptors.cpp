#include "platform/posix/closeOtherDescriptors.h"

#include <unistd.h>

#include <initializer_list>

namespace kestrav::platform {

int closeOtherDescriptors(posix_spawn_file_actions_t &actions, short &flags, int /*first*/) {
    // Only what a file action names stays open then.
    flags = static_cast<short>(flags | POSIX_SPAWN_CLOEXEC_DEFAULT);
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (const int error = posix_spawn_file_actions_addinherit_np(&actions, descriptor)) {
            return error;
        }
    }
    return 0;
}

} // namespace kestrav::platform
