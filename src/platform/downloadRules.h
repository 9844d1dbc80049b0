#pragma once

#include <sys/stat.h>

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>

// Rules that the downloads of all platforms share. They are all in this header, so that the download module can use
// them as well.

namespace kestrav::platform {

/// True if a final HTTP answer with this status brings the requested file. Any other brings nothing, a part, or a page
/// that says why not.
constexpr bool statusBringsFile(long status) {
    return status == 200 || status == 203; // 203: changed by a proxy on the way
}

/// True if there is something other than a plain file at the path: reading it might never end, or never begin.
inline bool isNoPlainFile(const std::string &path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode);
}
/// The error's message about it.
inline constexpr const char *noPlainFile = "Not a file";

/// Where the host of a URL begins: after its scheme, if it has one.
inline std::size_t hostOffset(std::string_view url) {
    const std::size_t colon = url.find(':');
    const bool hasScheme = colon != std::string_view::npos && url.substr(colon + 1, 1) == "/";
    return hasScheme ? std::min(url.find_first_not_of('/', colon + 1), url.size()) : 0;
}

/// A URL, well-formed or not, for people to read: only scheme, host and path, because user, password, query and
/// fragment may be secrets. A secret may hold any character, so nothing before the last "@" is shown, even if that is
/// part of the path.
inline std::string withoutSecrets(std::string_view url) {
    const std::size_t at = url.rfind('@');
    if (at == std::string_view::npos) {
        return std::string(url.substr(0, url.find_first_of("?#")));
    }
    std::string_view scheme = url.substr(0, hostOffset(url));
    const std::string_view name = scheme.substr(0, scheme.find(':'));
    if (name != "http" && name != "https" && name != "ftp" && name != "file") {
        scheme = {}; // it may be a user name
    }
    const std::string_view rest = url.substr(at + 1);
    return std::string(scheme) + "***@" + std::string(rest.substr(0, rest.find_first_of("?#")));
}

/// True if what looks like the host may be a part of a secret, so that a library's message must not be shown.
inline bool hostMayBeSecret(std::string_view url) {
    const std::size_t at = url.rfind('@');
    return at != std::string_view::npos && url.find_first_of("/?#", hostOffset(url)) < at;
}
/// The message that is shown instead.
inline constexpr const char *untoldFailure =
    "The transfer failed (an \"@\" follows the host; the reason might name a secret)";

} // namespace kestrav::platform
