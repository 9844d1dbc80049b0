#pragma once

#include "Program.h"

namespace kestrav::tools {

/// Adds what the module path names to the program, and finds the main module in it, with its main class. Refuses a
/// module that is not there, unless the runtime may have it, one without a main class, and one that needs others which
/// are not there.
void addModules(Program &program, const Request &request);

} // namespace kestrav::tools
