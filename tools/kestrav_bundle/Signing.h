#pragma once

#include "Request.h"

#include <string>
#include <vector>

namespace kestrav::tools {

/// Refuses signatures that could not be made: macOS's `codesign` has to be there, and the entitlements readable.
void requireSigning(const Request &request);

/// Signs all code of an application that is complete, from the inside out, and has the whole verified. Programs of its
/// runtime get the entitlements of the launcher. `folder`, which is made, is for what is needed meanwhile. Returns what
/// was signed, for the user.
[[nodiscard]] std::vector<std::string> signApplication(const Request &request, const std::string &application,
                                                       const std::string &folder);

} // namespace kestrav::tools
