#pragma once

#include "Request.h"
#include "StartReport.h"

namespace kestrav::tools {

/// Tells how the application `request.output` would start with `request.arguments`, by the launcher's own search and
/// reading. Starts nothing and writes nothing. The process speaks for that application from then on. Refuses what is
/// not an application of the launcher's, and one for another kind of machine.
[[nodiscard]] StartReport examineStart(const Request &request);

} // namespace kestrav::tools
