#pragma once

#include "Configuration.h"
#include "FileTree.h"
#include "Progress.h"
#include "Request.h"
#include "Runtime.h"

#include <string>
#include <vector>

// The runtime on its way into the application: first as a folder, in which it can be tried, then as it will travel.

namespace kestrav::tools {

/// Returns all that travels of the runtime, and puts it at `templateRuntime` in the application if it stays there or is
/// to be tried there. Gives it the archive of its classes unless the request has none; `folder`, which is
/// made, is for that.
[[nodiscard]] FileTree placeRuntime(const Runtime &runtime, const Request &request, const std::string &application,
                                    const std::string &folder, const Progress &progress,
                                    std::vector<std::string> &notes);

/// Leaves the folder, or packs an archive in its stead; what that is like.
[[nodiscard]] RuntimeArchive finishRuntime(const FileTree &tree, const Runtime &runtime, RuntimeForm form,
                                           const std::string &application, const Progress &progress,
                                           std::vector<std::string> &notes);

} // namespace kestrav::tools
