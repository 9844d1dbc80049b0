#pragma once

#include "Request.h"

#include <string>
#include <vector>

// What the launcher shows of an application. `resources` is the folder of that name in one that is being made.

namespace kestrav::tools {

/// Keeps the languages that were asked for, and adds the user's own; leaves all if none was. Refuses those that have no
/// messages, or are given twice.
void placeLanguages(const std::vector<Language> &languages, const std::string &resources);

} // namespace kestrav::tools
