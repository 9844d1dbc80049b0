#pragma once

#include "Request.h"

namespace kestrav::tools {

/// Raises `Refusal` for a text of the request that cannot stand in a property list or could not work.
void checkTexts(const Request &request);

} // namespace kestrav::tools
