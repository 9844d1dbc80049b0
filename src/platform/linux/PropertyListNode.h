#pragma once

#include <plist/plist.h>

#include <memory>
#include <string_view>

namespace kestrav::platform {

struct FreeNode {
    using pointer = plist_t;
    void operator()(plist_t node) const { plist_free(node); }
};

/// Owns a libplist value and everything in it.
using Node = std::unique_ptr<plist_t, FreeNode>;

/// Reads an XML or binary property list. Null if the bytes are neither, are damaged, or are more than the library can
/// safely read.
[[nodiscard]] Node nodeOf(std::string_view bytes);

} // namespace kestrav::platform
