#include "mac_installer/archive/GzipTrailer.h"

#include "mac_installer/archive/GzipMember.h"
#include "platform/FileDescriptor.h"
#include "platform/uninterrupted.h"

#include <unistd.h>

#include <algorithm>
#include <limits>
#include <string_view>
#include <utility>

namespace kestrav {

using platform::FileDescriptor;

namespace {

constexpr std::string_view memberStart = "\x1f\x8b\x08";
/// The sizes of a member's parts: ten bytes of header and eight of trailer, the last four of which hold the content's
/// size.
constexpr std::size_t smallestMember = 18;
constexpr std::size_t sizeLength = 4;
/// One compressed byte inflates to at most this many bytes.
constexpr std::int64_t largestRatio = 1032;

/// True if the bytes can follow a member's first three: no reserved flags, a known degree of compression and a known
/// system. Compressed data hardly ever look like this by chance.
bool looksLikeMember(std::string_view header) {
    const auto byte = [&](std::size_t index) { return static_cast<unsigned char>(header[index]); };
    constexpr std::size_t length = 10;
    return header.size() >= length && (byte(3) & 0xe0U) == 0 && (byte(8) == 0 || byte(8) == 2 || byte(8) == 4) &&
           (byte(9) <= 13 || byte(9) == 255);
}

bool holdsMember(std::string_view bytes) {
    for (auto at = bytes.find(memberStart); at != std::string_view::npos; at = bytes.find(memberStart, at + 1)) {
        if (looksLikeMember(bytes.substr(at))) {
            return true;
        }
    }
    return false;
}

/// Appends the next bytes of the file; false at its end or if it cannot be read.
bool readMore(const FileDescriptor &file, std::string &bytes) {
    constexpr std::size_t pieceSize = std::size_t{256} * 1024;
    const std::size_t kept = bytes.size();
    bytes.resize(kept + pieceSize);
    const ssize_t count = platform::uninterrupted([&] { return ::read(file.get(), bytes.data() + kept, pieceSize); });
    bytes.resize(kept + static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    return count > 0;
}

/// Compressed data are smaller than their content, but only up to a certain factor.
std::optional<std::int32_t> ifPlausible(std::uint64_t size, std::int64_t fileSize) {
    if (size > static_cast<std::uint64_t>(std::numeric_limits<std::int32_t>::max())) {
        return std::nullopt;
    }
    const auto bytes = static_cast<std::int32_t>(size);
    return bytes > fileSize && bytes / largestRatio <= fileSize ? std::optional(bytes) : std::nullopt;
}

} // namespace

std::optional<std::int32_t> uncompressedSizeOf(const std::string &path) {
    const FileDescriptor file = FileDescriptor::openRegularFile(path);
    std::string window;
    if (!file.valid() || !readMore(file, window) || !window.starts_with(memberStart)) {
        return std::nullopt;
    }
    const auto member = GzipMember::parse(window);
    if (member && member->totalSize) {
        return ifPlausible(*member->totalSize, ::lseek(file.get(), 0, SEEK_END));
    }
    auto fileSize = static_cast<std::int64_t>(window.size());
    window.erase(0, 1); // so that the first member is not found
    for (bool more = true; more;) {
        if (holdsMember(window)) {
            return std::nullopt;
        }
        window.erase(0, window.size() - std::min(window.size(), smallestMember));
        const std::size_t kept = window.size();
        more = readMore(file, window);
        fileSize += static_cast<std::int64_t>(window.size() - kept);
    }
    std::uint64_t size = 0;
    for (std::size_t index = 0; index < std::min(window.size(), sizeLength); ++index) {
        size = size * 256 + static_cast<unsigned char>(window[window.size() - 1 - index]);
    }
    return ifPlausible(size, fileSize);
}

} // namespace kestrav
