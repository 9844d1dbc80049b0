#pragma once

#include "FileTree.h"

#include <cstdint>
#include <string>

namespace kestrav::tools {

/// Writes the entries as a gzip-compressed tar archive, and returns its size before compression in bytes. The
/// same entries give the same archive; its times are that of SOURCE_DATE_EPOCH. Refuses what the launcher could not
/// extract: a file of 2 GiB or more. Raises `Interrupted` after a signal.
[[nodiscard]] std::uint64_t writeRuntimeArchive(const FileTree &tree, const std::string &path,
                                                const Progress &progress);

/// Extracts an archive as the launcher does it, into a folder, which is made, and returns where the runtime in it is.
/// Refuses what is not an archive or cannot be extracted whole. Raises `Interrupted` after a signal.
[[nodiscard]] std::string extractRuntimeArchive(const std::string &archive, const std::string &folder);

} // namespace kestrav::tools
