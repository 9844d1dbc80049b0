#include "platform/SHA256.h"

#include "platform/Exception.h"
#include "platform/FileDescriptor.h"
#include "platform/uninterrupted.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <utility>
#include <vector>

namespace kestrav::platform {

std::string sha256OfText(const std::string &bundlePath, std::string_view text) {
    return sha256(bundlePath, [&] { return std::exchange(text, std::string_view()); });
}

std::string sha256OfFile(const std::string &bundlePath, const std::string &path,
                         const std::function<void()> &checkpoint) {
    constexpr std::size_t pieceSize = std::size_t{256} * 1024;
    const FileDescriptor file = FileDescriptor::openRegularFile(path);
    std::vector<char> piece(pieceSize);
    return sha256(bundlePath, [&]() -> std::string_view {
        checkpoint();
        const ssize_t count =
            file.valid() ? uninterrupted([&] { return ::read(file.get(), piece.data(), piece.size()); }) : -1;
        if (count < 0) {
            throw Exception("FileException", path + ": " + std::generic_category().message(errno));
        }
        return {piece.data(), static_cast<std::size_t>(count)};
    });
}

std::string normalizedSHA256(std::string_view text) {
    constexpr std::size_t digits = 64;
    std::string normalized(text);
    for (char &digit : normalized) {
        digit = digit >= 'A' && digit <= 'F' ? static_cast<char>(digit - 'A' + 'a') : digit;
    }
    const bool valid =
        normalized.size() == digits && normalized.find_first_not_of("0123456789abcdef") == std::string::npos;
    return valid ? normalized : "";
}

} // namespace kestrav::platform
