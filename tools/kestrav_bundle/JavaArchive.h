#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace kestrav::tools {

/// The first `most` bytes of an entry of a Java archive; empty if there is no entry of that name. Raises `Refusal` for
/// a file that is not a whole archive: its directory, which lies at the end, is read. Raises `Interrupted` after a
/// signal.
[[nodiscard]] std::optional<std::string> contentInArchive(const std::string &path, std::string_view name,
                                                          std::size_t most);

} // namespace kestrav::tools
