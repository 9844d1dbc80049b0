#pragma once

#include "mac_installer/launcher/Launcher.h"

#include <optional>
#include <string>

namespace kestrav {

/// An archive with the application's runtime.
struct ArchivedRuntime {
    std::string origin; ///< the path of the shipped one, or the address of the one to be downloaded
    bool isShipped = false;
};

/// Where an application's runtime comes from: it was found, or is in an archive; with neither there is none.
struct RuntimeSource {
    std::optional<JavaRuntime> runtime;
    std::optional<ArchivedRuntime> archive;
};

/// Decides that: a shipped archive, then the searches, then the address in the configuration.
[[nodiscard]] RuntimeSource findRuntimeSource(Launcher &launcher);

} // namespace kestrav
