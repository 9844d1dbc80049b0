#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace kestrav::platform {

/// What lies in a folder, at every depth, as one text: names, kinds and, of files and links, sizes. Links are not
/// followed. Empty with errno set if something could not be read.
[[nodiscard]] std::optional<std::string> listOfFolder(const std::string &path);

/// True if everything that such a list names is there, of the same kind and size. Nothing is opened, so this takes
/// about a microsecond for each entry. False for a list that is damaged or cut short.
[[nodiscard]] bool folderHolds(const std::string &path, std::string_view list);

/// What tells a file from its earlier states and from others: size, modification time and inode. Empty if there is
/// none.
[[nodiscard]] std::optional<std::string> stateOfFile(const std::string &path);

} // namespace kestrav::platform
