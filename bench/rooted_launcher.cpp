// Goes into a launcher that looks for the system's standard locations below BENCH_ROOT.

#include "platform/testing.h"

#include <cstdlib>

namespace {

/// Done before the program's own `main`.
[[maybe_unused]] const bool rooted = [] {
    if (const char *root = std::getenv("BENCH_ROOT")) {
        kestrav::platform::testing::replacements().systemRoot = root;
    }
    return true;
}();

} // namespace
