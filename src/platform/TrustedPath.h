#pragma once

#include "platform/FileDescriptor.h"

#include <optional>
#include <string>

namespace kestrav::platform {

/// Says why a file or folder that influences a start must be ignored: everybody can write to it, or it lies in a folder
/// where everybody can create files and belongs neither to the user, nor to root, nor to the owner of `bundlePath`.
/// Every folder and link on the way is checked in the same way. Empty if it can be trusted or does not exist.
[[nodiscard]] std::optional<std::string> reasonToDistrust(const std::string &path, const std::string &bundlePath);

/// The same for a file that is open for reading, so that it cannot be exchanged after the check. Where the path leads
/// through a folder in which everybody can create files, the file's owner has to be one of those three, however deep it
/// lies.
[[nodiscard]] std::optional<std::string> reasonToDistrust(const FileDescriptor &file, const std::string &path,
                                                          const std::string &bundlePath);

} // namespace kestrav::platform
