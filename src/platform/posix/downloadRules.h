#pragma once

#include <sys/stat.h>

#include <string>
#include <string_view>

// What every platform's download agrees on. Nothing but this header is needed, so that the module of downloads can use
// it as well.

namespace kestrav::platform {

/// True if an HTTP answer of this status, the last one, brings what was asked for. Any other brings nothing, a part, or
/// a page that says why not.
constexpr bool statusBringsFile(long status) {
    return status == 200 || status == 203; // 203: changed by a proxy on the way
}

/// True if something is there that is no plain file: it might never end, or never begin.
inline bool isNoPlainFile(const std::string &path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode);
}
/// What the error says of it.
inline constexpr const char *noPlainFile = "Not a file";

/// The URL, be it well-formed or not, for people to read: without its password.
inline std::string withoutPassword(std::string_view url) {
    const std::size_t colon = url.find(':');
    const bool hasScheme = colon != std::string_view::npos && url.substr(colon + 1, 1) == "/";
    const std::size_t authority = hasScheme ? url.find_first_not_of('/', colon + 1) : 0;
    const std::size_t end = url.find_first_of("/?#", authority);
    const std::size_t at = url.substr(0, end).rfind('@');
    const std::size_t password = url.find(':', authority);
    if (at == std::string_view::npos || password >= at) {
        return std::string(url);
    }
    return std::string(url.substr(0, password + 1)) + "***" + std::string(url.substr(at));
}

} // namespace kestrav::platform
