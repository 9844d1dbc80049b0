#pragma once

#include "Request.h"

namespace kestrav::tools {

/// Raises `Refusal` for what is wrong in the request by itself: strings that cannot stand in a property list, and
/// options that could not work or exclude one another. Looks at no file.
void checkRequest(const Request &request);

} // namespace kestrav::tools
