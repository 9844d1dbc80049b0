#pragma once

#include <cstddef>

// What the launcher and its module of digests agree on. Only plain C data crosses, and no exception: the two are linked
// to C++ libraries of their own.

extern "C" {

struct KestravDigestModule {
    /// The module's file in the bundle, and the name of the function below.
    static constexpr const char *file = "digest.so";
    static constexpr const char *entry = "kestravDigestModule";

    /// Writes the 32 bytes of the SHA-256 of all pieces that `next` hands out; a piece of no bytes is the end. Any
    /// thread.
    void (*sha256)(std::size_t (*next)(void *host, const unsigned char **piece) noexcept, void *host,
                   unsigned char *digest) noexcept;
};

/// The module's one export: fills in its functions.
void kestravDigestModule(KestravDigestModule *module) noexcept;
}
