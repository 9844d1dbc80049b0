#pragma once

#include "platform/FileDescriptor.h"

#include <optional>
#include <string>

namespace kestrav::platform {

/// Says why a file or folder that steers a start must not be heeded: everybody can write to it, or it lies in a folder
/// where everybody can create files and belongs neither to the user, nor to root, nor to the owner of `bundlePath`.
/// Every folder and link on the way is looked at in the same way. Empty if it may be heeded, or does not exist.
[[nodiscard]] std::optional<std::string> reasonToDistrust(const std::string &path, const std::string &bundlePath);

/// The same for a file that is open for reading, so that it cannot be exchanged after it was looked at. Where the path
/// leads through a folder in which everybody can create files, its owner has to be one of those three, however deep it
/// lies.
[[nodiscard]] std::optional<std::string> reasonToDistrust(const FileDescriptor &file, const std::string &path,
                                                          const std::string &bundlePath);

} // namespace kestrav::platform
