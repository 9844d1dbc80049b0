#pragma once

#include "Request.h"
#include "SideFiles.h"
#include "platform/PropertyList.h"

namespace kestrav::tools {

/// What the desktops of Linux need to know of the application: the desktop entry that was asked for and, beside it, the
/// description of its files' types. Names, types and the main class are those of its Info.plist. None if there is no
/// desktop entry to be made; refuses what no desktop could start.
[[nodiscard]] std::vector<SideFile> desktopFiles(const Request &request, const platform::PropertyList &info);

} // namespace kestrav::tools
