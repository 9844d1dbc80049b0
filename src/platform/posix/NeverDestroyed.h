#pragma once

namespace kestrav::platform {

/// Holds an object for the rest of the process: its destructor never runs, so threads that are still running while the
/// process exits may keep using it.
template <class T> class NeverDestroyed {
public:
    NeverDestroyed() : value_() {}
    /// Holds what `make` returns, without moving it.
    template <class Make> explicit NeverDestroyed(Make make) : value_(make()) {}
    NeverDestroyed(const NeverDestroyed &) = delete;
    NeverDestroyed &operator=(const NeverDestroyed &) = delete;
    // Not "= default", which would delete it, because the union does not know how to destroy its member.
    ~NeverDestroyed() {} // NOLINT(modernize-use-equals-default)

    [[nodiscard]] T &get() { return value_; }

private:
    union {
        T value_;
    };
};

} // namespace kestrav::platform
