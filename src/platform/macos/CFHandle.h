#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <utility>

namespace kestrav::platform {

/// Owns one reference to a CoreFoundation object, or none. Movable, not copyable.
template <class Reference> class CFHandle {
public:
    CFHandle() = default;
    /// Takes over what a function with "Create" or "Copy" in its name has returned, null included.
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

} // namespace kestrav::platform
