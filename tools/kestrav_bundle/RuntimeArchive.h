#pragma once

#include "FileTree.h"

#include <cstdint>
#include <string>

namespace kestrav::tools {

/// Writes the entries as a gzip-compressed ustar archive, and returns its size before compression in bytes. Refuses
/// what the launcher could not extract: a name, or a link's target, over 99 bytes, and a file of 2 GiB or more. Raises
/// `Interrupted` after a signal.
[[nodiscard]] std::uint64_t writeRuntimeArchive(const FileTree &tree, const std::string &path);

} // namespace kestrav::tools
