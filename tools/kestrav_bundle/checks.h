#pragma once

#include "Request.h"

namespace kestrav::tools {

/// Raises `Refusal` for what no file has to be looked at for: texts that cannot stand in a property list, and wishes
/// that could not work or exclude one another.
void checkRequest(const Request &request);

} // namespace kestrav::tools
