#pragma once

#include "platform/PropertyList.h"
#include "platform/macos/CFHandle.h"

namespace kestrav::platform {

/// A copy of the platform's value; empty for null and for what cannot stand in a property list. Such entries of arrays
/// and dictionaries are left out.
[[nodiscard]] std::optional<PropertyList> propertyListOf(CFTypeRef value);

/// The value as an object of the platform, never null.
[[nodiscard]] CFHandle<CFTypeRef> cfValue(const PropertyList &list);

} // namespace kestrav::platform
