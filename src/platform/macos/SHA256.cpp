#include "platform/SHA256.h"

#include "platform/posix/hexadecimal.h"

#include <CommonCrypto/CommonDigest.h>

#include <array>

namespace kestrav::platform {

std::string sha256(const std::string & /*bundlePath*/, const std::function<std::string_view()> &next) {
    CC_SHA256_CTX context;
    CC_SHA256_Init(&context);
    for (std::string_view piece = next(); !piece.empty(); piece = next()) {
        CC_SHA256_Update(&context, piece.data(), static_cast<CC_LONG>(piece.size()));
    }
    std::array<unsigned char, CC_SHA256_DIGEST_LENGTH> digest{};
    CC_SHA256_Final(digest.data(), &context);
    return hexadecimal(digest);
}

} // namespace kestrav::platform
