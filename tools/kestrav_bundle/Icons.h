#pragma once

#include "Request.h"
#include "SideFiles.h"
#include "platform/PropertyList.h"

namespace kestrav::tools {

/// The application's icon file (.icns): the user's, or one with the images of his PNG or SVG image, or with the initial
/// of the name. A template that was asked for keeps its own. Refuses an image that cannot be read or shown.
[[nodiscard]] std::string iconFile(const Request &request);

/// The same icon for the desktops of Linux, if a desktop entry is made: images in the folders of the "hicolor" theme,
/// beside the entry.
[[nodiscard]] std::vector<SideFile> desktopIcons(const Request &request, const platform::PropertyList &info,
                                                 const std::string &iconFile);

} // namespace kestrav::tools
