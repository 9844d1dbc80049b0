#pragma once

#include <plist/plist.h>

#include <memory>

namespace kestrav::platform {

struct FreeNode {
    using pointer = plist_t;
    void operator()(plist_t node) const { plist_free(node); }
};

/// Owns a value of libplist, with all that is in it.
using Node = std::unique_ptr<plist_t, FreeNode>;

} // namespace kestrav::platform
