#pragma once

#include "Request.h"

#include <string>
#include <vector>

namespace kestrav::tools {

/// Makes the application: complete, or not at all, or on a dry run only looks whether it could. `ownFolder` is the
/// folder of this program, from which the template is found. Returns what there is to tell the user, a line each.
/// Raises `Refusal`, or what the file system raises.
std::vector<std::string> makeApplication(const Request &asked, const std::string &ownFolder);

} // namespace kestrav::tools
