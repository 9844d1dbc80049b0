#pragma once

namespace kestrav::platform {

/// Holds an object for the rest of the process: its destructor never runs, so threads that are still alive while the
/// process exits may go on using it.
template <class T> class NeverDestroyed {
public:
    NeverDestroyed() : value_() {}
    /// Takes what `make` returns, without a move.
    template <class Make> explicit NeverDestroyed(Make make) : value_(make()) {}
    NeverDestroyed(const NeverDestroyed &) = delete;
    NeverDestroyed &operator=(const NeverDestroyed &) = delete;
    // Not "= default": that would be deleted, because the union does not know how to end its member.
    ~NeverDestroyed() {} // NOLINT(modernize-use-equals-default)

    [[nodiscard]] T &get() { return value_; }

private:
    union {
        T value_;
    };
};

} // namespace kestrav::platform
