#pragma once

#include <functional>
#include <string>

namespace kestrav::tools {

/// Removes the runtimes that the user's applications have kept and that nothing uses, from a folder or, if that is
/// empty, from the usual ones, and hands a line about each to `tell`. False if one could not be removed.
[[nodiscard]] bool cleanRuntimes(const std::string &folder, const std::function<void(const std::string &)> &tell);

} // namespace kestrav::tools
