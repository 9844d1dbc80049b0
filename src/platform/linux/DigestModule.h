#pragma once

#include <cstddef>

// The interface between the launcher and its module for digests. Only plain C data crosses it, and no exceptions,
// because each side is linked to its own C++ library.

extern "C" {

struct KestravDigestModule {
    /// The module's file in the bundle, and the name of the function below.
    static constexpr const char *file = "digest.so";
    static constexpr const char *entry = "kestravDigestModule";

    /// Writes the 32 bytes of the SHA-256 of all pieces that `next` returns; an empty piece is the end. Any thread.
    void (*sha256)(std::size_t (*next)(void *host, const unsigned char **piece) noexcept, void *host,
                   unsigned char *digest) noexcept;
};

/// The module's one export: fills in its functions.
void kestravDigestModule(KestravDigestModule *module) noexcept;
}
