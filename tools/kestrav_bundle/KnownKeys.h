#pragma once

#include "Request.h"
#include "platform/PropertyList.h"

#include <string>
#include <vector>

// The keys of Info.plist that the launcher reads.

namespace kestrav::tools {

/// Reads every key as the launcher will, which raises for a wrong type.
void readAll(const platform::PropertyList &info);

/// Tells what the user's property list has that the launcher will not heed, a line each.
[[nodiscard]] std::vector<std::string> unheededKeys(const Request &request);

} // namespace kestrav::tools
