#pragma once

#include "harness.h"

#include <string>
#include <vector>

namespace kestrav::bench {

/// Measures a command until its window's first frame on an X display, seen from outside, then ends the command and
/// everything that it has started.
Contender showing(const char *name, const std::vector<std::string> &command, const std::string &display);

} // namespace kestrav::bench
