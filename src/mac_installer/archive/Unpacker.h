#pragma once

#include "mac_installer/archive/Progress.h"

#include <string>
#include <vector>

namespace kestrav {

/// Turns a runtime's packed archives (lib/*.jar.pack and lib/ext/*.jar.pack) back into jar files with the runtime's own
/// bin/unpack200. A jar appears only when it is complete. If two processes do this at once, one unpacks while the other
/// waits. Runs on the caller's thread, one tool at a time.
class Unpacker {
public:
    /// Unpacks all archives in a runtime's home. `progress` may be empty; it gets a percentage after each archive and
    /// may throw. Returns false as soon as one run of the tool fails. Throws if the tool cannot be started, or after
    /// `cancel`.
    [[nodiscard]] static bool unpack(const std::string &runtimeDirectory, const ProgressCallback &progress);

    /// Appends the packed archives of one sub-directory, as paths relative to the runtime directory.
    static void addPackedFiles(std::vector<std::string> &files, const std::string &subDir, const std::string &jreDir);

    /// Ends the running tool and keeps further ones from starting: `unpack` throws the cancellation instead. Cannot be
    /// undone. Any thread.
    static void cancel();
};

} // namespace kestrav
