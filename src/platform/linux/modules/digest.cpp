#include "platform/linux/DigestModule.h"

#include <nettle/sha2.h>

namespace {

void digest(std::size_t (*next)(void *host, const unsigned char **piece) noexcept, void *host,
            unsigned char *result) noexcept {
    sha256_ctx context;
    sha256_init(&context);
    const unsigned char *piece = nullptr;
    for (std::size_t count = next(host, &piece); count > 0; count = next(host, &piece)) {
        sha256_update(&context, count, piece);
    }
    sha256_digest(&context, SHA256_DIGEST_SIZE, result);
}

} // namespace

extern "C" __attribute__((visibility("default"))) void kestravDigestModule(KestravDigestModule *module) noexcept {
    module->sha256 = digest;
}
