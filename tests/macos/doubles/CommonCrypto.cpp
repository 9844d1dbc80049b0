#include <CommonCrypto/CommonDigest.h>

#include <nettle/sha2.h>

static_assert(sizeof(sha256_ctx) <= sizeof(CC_SHA256_CTX));

int CC_SHA256_Init(CC_SHA256_CTX *context) {
    sha256_init(reinterpret_cast<sha256_ctx *>(context));
    return 1;
}

int CC_SHA256_Update(CC_SHA256_CTX *context, const void *data, CC_LONG length) {
    sha256_update(reinterpret_cast<sha256_ctx *>(context), length, static_cast<const uint8_t *>(data));
    return 1;
}

int CC_SHA256_Final(unsigned char *digest, CC_SHA256_CTX *context) {
    sha256_digest(reinterpret_cast<sha256_ctx *>(context), CC_SHA256_DIGEST_LENGTH, digest);
    return 1;
}
