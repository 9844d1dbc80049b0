#pragma once

#include "FileTree.h"
#include "Runtime.h"

#include <string>
#include <vector>

// The archive of a runtime's own classes (lib/server/classes.jsa), without which every start loads them one by one.

namespace kestrav::tools {

/// Has the runtime dump its classes into `folder`, which is made, and adds the archive to what travels of it. Does so
/// only if the runtime has none. True if it was added; `notes` tells that, or why it could not be.
[[nodiscard]] bool addClassArchive(const Runtime &runtime, FileTree &tree, const std::string &folder,
                                   std::vector<std::string> &notes);

/// Tries the archive in a copy of the tree, whose files have other times and another place, and takes it out of both
/// if the virtual machine does not accept it there.
void requireValidClassArchive(const std::string &copy, FileTree &tree, const std::string &folder,
                              std::vector<std::string> &notes);

} // namespace kestrav::tools
