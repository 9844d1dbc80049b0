#include "platform/macos/RequestRules.h"

#include "platform/format.h"

namespace kestrav::platform {

std::string percentEncoded(std::string_view url) {
    std::string result;
    for (const char character : url) {
        const auto byte = static_cast<unsigned char>(character);
        if (byte <= ' ' || byte > 0x7E) {
            result += format("%%%02X", static_cast<unsigned>(byte));
        } else {
            result += character;
        }
    }
    return result;
}

bool redirectIsAllowed(std::string_view fromScheme, std::string_view toScheme) {
    const bool toServer = toScheme == "http" || toScheme == "https" || toScheme == "ftp";
    return toServer && (fromScheme != "https" || toScheme == "https");
}

} // namespace kestrav::platform
