#include "platform/SHA256.h"

#include "platform/Exception.h"
#include "platform/linux/DigestModule.h"
#include "platform/linux/Module.h"
#include "platform/posix/hexadecimal.h"

#include <array>
#include <exception>

namespace kestrav::platform {

namespace {

/// Passes pieces to the module, and keeps exceptions from passing through the module.
struct Pieces {
    const std::function<std::string_view()> &next;
    std::exception_ptr failure = nullptr;

    static std::size_t handOut(void *host, const unsigned char **piece) noexcept {
        auto &self = *static_cast<Pieces *>(host);
        try {
            const std::string_view bytes = self.next();
            *piece = reinterpret_cast<const unsigned char *>(bytes.data());
            return bytes.size();
        } catch (...) {
            self.failure = std::current_exception();
            return 0;
        }
    }
};

} // namespace

std::string sha256(const std::string &bundlePath, const std::function<std::string_view()> &next) {
    const auto module = openModule<KestravDigestModule>(bundlePath);
    if (!module.failure.empty()) {
        throw Exception("DigestException", "there is no SHA-256: " + module.failure);
    }
    Pieces pieces{next};
    std::array<unsigned char, 32> digest{};
    module.functions.sha256(Pieces::handOut, &pieces, digest.data());
    if (pieces.failure) {
        std::rethrow_exception(pieces.failure);
    }
    return hexadecimal(digest);
}

} // namespace kestrav::platform
