#pragma once

#include "Request.h"
#include "platform/PropertyList.h"

namespace kestrav::tools {

/// Adds the types of files and the schemes of addresses that the system is to open with the application. Raises a
/// `Refusal` for one that cannot be.
void addDocumentTypes(platform::PropertyList::Dictionary &info, const Request &request);

} // namespace kestrav::tools
