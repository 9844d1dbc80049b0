#include "platform/IconImage.h"

#include <cstddef>

namespace kestrav::platform {

namespace {

constexpr std::string_view ContainerMark = "icns";
constexpr std::size_t HeaderLength = 8; // a mark or type, and a length that includes the header
constexpr std::string_view PngMark("\x89PNG\r\n\x1A\n\0\0\0\x0DIHDR", 16);

std::uint32_t bigEndian(std::string_view bytes) {
    std::uint32_t number = 0;
    for (const char byte : bytes.substr(0, 4)) {
        number = number << 8U | static_cast<unsigned char>(byte);
    }
    return number;
}

/// The width of a PNG image in pixels; 0 for anything else.
std::uint32_t pngWidth(std::string_view image) {
    return image.starts_with(PngMark) && image.size() >= PngMark.size() + 4 ? bigEndian(image.substr(PngMark.size()))
                                                                            : 0;
}

} // namespace

std::optional<std::string_view> iconImage(std::string_view file, std::uint32_t edge) {
    if (pngWidth(file) != 0) {
        return file;
    }
    if (!file.starts_with(ContainerMark)) {
        return std::nullopt;
    }
    std::optional<std::string_view> best;
    std::uint32_t bestWidth = 0;
    for (std::size_t start = HeaderLength; start + HeaderLength <= file.size();) {
        const std::size_t length = bigEndian(file.substr(start + 4));
        if (length < HeaderLength || length > file.size() - start) {
            break; // damaged: what came before still counts
        }
        const std::string_view image = file.substr(start + HeaderLength, length - HeaderLength);
        const std::uint32_t width = pngWidth(image);
        if (bestWidth < edge ? width > bestWidth : width >= edge && width < bestWidth) {
            best = image;
            bestWidth = width;
        }
        start += length;
    }
    return best;
}

} // namespace kestrav::platform
