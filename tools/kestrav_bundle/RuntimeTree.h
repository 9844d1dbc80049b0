#pragma once

#include "FileTree.h"
#include "Runtime.h"

namespace kestrav::tools {

/// Everything that travels of a runtime, with its home in Contents/Home and an Info.plist that says what it is. What
/// file managers leave behind stays where it is.
[[nodiscard]] FileTree runtimeTree(const Runtime &runtime);

} // namespace kestrav::tools
