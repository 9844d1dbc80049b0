#pragma once

#include "mac_installer/archive/Progress.h"

#include <string>
#include <vector>

namespace kestrav {

/// Turns a runtime's packed archives (lib/*.jar.pack and lib/ext/*.jar.pack) back into jar files with the runtime's own
/// bin/unpack200. A jar appears when it is whole; of two runs one unpacks while the other waits. Runs on the caller's
/// thread, one tool at a time.
class Unpacker {
public:
    /// Unpacks what is packed below a runtime's home. `progress` may be empty; it gets a percentage after each archive
    /// and may raise. False as soon as one run of the tool fails. Raises if the tool cannot be started, or was
    /// cancelled.
    [[nodiscard]] static bool unpack(const std::string &runtimeDirectory, const ProgressCallback &progress);

    /// Appends the packed archives of one sub-directory, as paths relative to the runtime directory.
    static void addPackedFiles(std::vector<std::string> &files, const std::string &subDir, const std::string &jreDir);

    /// Ends a running tool and lets no further one start: `unpack` raises the cancellation instead. Any thread, for
    /// good.
    static void cancel();
};

} // namespace kestrav
