#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace kestrav::platform {

/// Everything below a folder, at any depth, as one string: names, kinds and, for files and links, sizes. Links are not
/// followed. Empty with errno set if something could not be read.
[[nodiscard]] std::optional<std::string> listOfFolder(const std::string &path);

/// True if everything in such a list exists with the same kind and size. Nothing is opened, so this takes about a
/// microsecond for each entry. False if the list is damaged or cut short.
[[nodiscard]] bool folderHolds(const std::string &path, std::string_view list);

/// What distinguishes a file from its earlier states and from other files: size, modification time and inode. Empty if
/// the file does not exist.
[[nodiscard]] std::optional<std::string> stateOfFile(const std::string &path);

} // namespace kestrav::platform
