// Linked into a launcher so that it looks for the system's standard locations below BENCH_ROOT.

#include "platform/testing.h"

#include <cstdlib>

namespace {

/// Runs before the program's own `main`.
[[maybe_unused]] const bool rooted = [] {
    if (const char *root = std::getenv("BENCH_ROOT")) {
        kestrav::platform::testing::replacements().systemRoot = root;
    }
    return true;
}();

} // namespace
