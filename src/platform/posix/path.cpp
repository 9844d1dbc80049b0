#include "platform/path.h"

#include "platform/text.h"

namespace kestrav::platform {

namespace {

bool standsInURL(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
           std::string_view("/-._~!$&'()*+,=:@").find(c) != std::string_view::npos;
}

} // namespace

std::string_view withoutTrailingSlashes(std::string_view path) {
    const std::size_t last = path.find_last_not_of('/');
    return last == std::string_view::npos ? path.substr(0, 1) : path.substr(0, last + 1);
}

std::string appendingPathComponent(std::string_view path, std::string_view component) {
    if (path.empty()) {
        return std::string(withoutTrailingSlashes(component));
    }
    std::string result(withoutTrailingSlashes(path));
    const std::string_view name = trimming(component, "/");
    if (!name.empty()) {
        if (!result.ends_with('/')) {
            result += '/';
        }
        result += name;
    }
    return result;
}

std::vector<std::string> pathComponents(std::string_view path) {
    std::vector<std::string> components;
    if (path.starts_with('/')) {
        components.emplace_back("/");
    }
    for (std::string &piece : componentsSeparatedBy(path, "/")) {
        if (!piece.empty()) {
            components.push_back(std::move(piece));
        }
    }
    if (path.ends_with('/') && withoutTrailingSlashes(path) != "/") {
        components.emplace_back("/");
    }
    return components;
}

std::string deletingLastPathComponent(std::string_view path) {
    path = withoutTrailingSlashes(path);
    const std::size_t slash = path.find_last_of('/');
    return slash == std::string_view::npos ? std::string()
                                           : std::string(withoutTrailingSlashes(path.substr(0, slash + 1)));
}

std::string lastPathComponent(std::string_view path) {
    path = withoutTrailingSlashes(path);
    return std::string(path == "/" ? path : path.substr(path.find_last_of('/') + 1));
}

bool isAbsolutePath(std::string_view path) {
    return path.starts_with('/') || path.starts_with('~');
}

std::string fileURLString(std::string_view path, bool isDirectory) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string url = "file://";
    for (const char c : path) {
        if (standsInURL(c)) {
            url += c;
        } else {
            const auto byte = static_cast<unsigned char>(c);
            url += '%';
            url += digits[byte >> 4U];
            url += digits[byte & 0xFU];
        }
    }
    if (isDirectory && !url.ends_with('/')) {
        url += '/';
    }
    return url;
}

} // namespace kestrav::platform
