#pragma once

#include "mac_installer/Launcher.h"

#include <string>

namespace kestrav {

/// Says in words why the candidate checks refused a runtime, for the debug log alone. `bundle` is null if the runtime
/// could not be opened.
[[nodiscard]] std::string refusalReason(const platform::Bundle *bundle, const RuntimeBounds &bounds, bool plugin);

/// The same for a version that was read from a file.
[[nodiscard]] std::string versionRefusalReason(const OptionalText &version, const RuntimeBounds &bounds);

} // namespace kestrav
