#pragma once

#include "platform/PropertyList.h"

#include <CoreFoundation/CoreFoundation.h>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

// CoreFoundation's objects as values of C++.

namespace kestrav::platform {

/// Owns one reference to a CoreFoundation object, or none. Movable, not copyable.
template <class Reference> class CFHandle {
public:
    CFHandle() = default;
    /// Takes over the result of a function with "Create" or "Copy" in its name; it may be null.
    explicit CFHandle(Reference owned) : reference_(owned) {}
    CFHandle(CFHandle &&other) noexcept : reference_(std::exchange(other.reference_, nullptr)) {}
    CFHandle &operator=(CFHandle &&other) noexcept {
        std::swap(reference_, other.reference_);
        return *this;
    }
    CFHandle(const CFHandle &) = delete;
    CFHandle &operator=(const CFHandle &) = delete;
    ~CFHandle() {
        if (reference_ != nullptr) {
            CFRelease(reference_);
        }
    }

    [[nodiscard]] Reference get() const { return reference_; }
    explicit operator bool() const { return reference_ != nullptr; }
    /// Gives the reference away.
    [[nodiscard]] Reference release() { return std::exchange(reference_, nullptr); }

private:
    Reference reference_ = nullptr;
};

/// The text as the platform's string. Bytes that are not UTF-8 become U+FFFD.
[[nodiscard]] CFHandle<CFStringRef> cfText(std::string_view text);

/// The platform's string as UTF-8, a null one as an empty text. Lone surrogates become U+FFFD.
[[nodiscard]] std::string textOf(CFStringRef string);

/// The path of a file URL.
[[nodiscard]] std::string pathOf(CFURLRef url);

/// A copy of the platform's value, which was read from `bytes` bytes if that is known; empty for null, for what a
/// property list cannot hold, and for what would take up far too much memory. Entries of arrays and dictionaries that a
/// property list cannot hold, or that are nested too deeply, are left out.
[[nodiscard]] std::optional<PropertyList> propertyListOf(CFTypeRef value, std::size_t bytes = 0);

/// The value as an object of the platform, never null.
[[nodiscard]] CFHandle<CFTypeRef> cfValue(const PropertyList &list);

} // namespace kestrav::platform
