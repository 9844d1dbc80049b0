#ifndef COMMON_DIGEST_DOUBLE
#define COMMON_DIGEST_DOUBLE

// The part of CommonCrypto that the macOS platform calls, with the signatures of the real one.

#include <stdint.h>

extern "C" {
typedef uint32_t CC_LONG;
typedef struct {
    uint64_t state[16];
} CC_SHA256_CTX;
enum { CC_SHA256_DIGEST_LENGTH = 32 };

int CC_SHA256_Init(CC_SHA256_CTX *context);
int CC_SHA256_Update(CC_SHA256_CTX *context, const void *data, CC_LONG length);
int CC_SHA256_Final(unsigned char *digest, CC_SHA256_CTX *context);
}

#endif
