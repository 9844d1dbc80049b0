#pragma once

#include <plist/plist.h>

#include <memory>
#include <string_view>

namespace kestrav::platform {

struct FreeNode {
    using pointer = plist_t;
    void operator()(plist_t node) const { plist_free(node); }
};

/// Owns a value of libplist, with all that is in it.
using Node = std::unique_ptr<plist_t, FreeNode>;

/// Reads an XML or binary property list. Null when the bytes are neither, or are damaged, or are more than the library
/// can be trusted with.
[[nodiscard]] Node nodeOf(std::string_view bytes);

} // namespace kestrav::platform
