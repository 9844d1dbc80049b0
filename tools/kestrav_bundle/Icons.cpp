#include "Icons.h"

#include "Picture.h"
#include "mac_installer/launcher/InfoPlist.h"
#include "platform/FileManager.h"
#include "platform/IconImage.h"
#include "platform/path.h"

#include <array>
#include <cstdint>
#include <string_view>
#include <utility>

namespace kestrav::tools {

namespace {

constexpr std::string_view iconMark = "icns";
constexpr std::string_view pngMark("\x89PNG\r\n\x1A\n", 8);
constexpr std::size_t headerSize = 8; // a mark or type, and a size that includes the header
constexpr int windowEdge = 128;       // as the progress window has it on a fine screen

std::string bigEndian(std::size_t size) {
    std::string bytes;
    for (const unsigned shift : {24U, 16U, 8U, 0U}) {
        bytes += static_cast<char>(size >> shift & 0xFFU);
    }
    return bytes;
}

/// An icon file (Apple's "icns") begins with its name and its own size.
bool isIcon(std::string_view content) {
    return content.starts_with(iconMark) && content.size() >= headerSize &&
           content.substr(iconMark.size(), headerSize - iconMark.size()) == bigEndian(content.size());
}

/// True if the progress window can show the icon wherever it opens. It draws PNG images, not the two older formats that
/// icon files may have as well.
bool canBeShown(std::string_view content) {
    constexpr std::string_view lastOfImage("IEND\xAE\x42\x60\x82");
    const auto image = platform::iconImage(content, windowEdge);
    return image && image->ends_with(lastOfImage);
}

/// Refuses a PNG image that would need too much memory, which its first bytes tell.
void requireUsualSize(const std::string &image, const std::string &path) {
    constexpr std::size_t sizesAt = 16;
    constexpr std::string_view most("\0\0\x20\0", 4); // 8192
    for (const std::size_t place : {sizesAt, sizesAt + most.size()}) {
        if (image.size() < place + most.size() || std::string_view(image).substr(place, most.size()) > most) {
            throw Refusal("The icon " + path + " is damaged, or has more than 8192 pixels on a side");
        }
    }
}

/// The picture of a PNG or SVG file.
Picture pictureOf(const std::string &image, const std::string &path) {
    if (image.starts_with(pngMark)) {
        requireUsualSize(image, path);
        auto picture = Picture::ofPNG(image);
        if (!picture) {
            throw Refusal("The icon " + path + " is a damaged PNG image");
        }
        if (picture->finestEdge() < windowEdge) {
            throw Refusal("The icon " + path + " has only " + std::to_string(picture->finestEdge()) +
                          " pixels on a side; give one with 128 at least, better 1024");
        }
        return *picture;
    }
    std::string error;
    auto picture = Picture::ofSVG(image, error);
    if (!picture) {
        throw Refusal("The icon " + path + " is not an .icns file, a PNG or an SVG image" +
                      (image.starts_with('<') ? ": " + error : ""));
    }
    return *picture;
}

std::string iconFileOf(const Picture &picture) {
    constexpr std::array<std::pair<std::string_view, int>, 8> types{{{"ic11", 32},
                                                                     {"ic12", 64},
                                                                     {"ic07", 128},
                                                                     {"ic13", 256},
                                                                     {"ic08", 256},
                                                                     {"ic14", 512},
                                                                     {"ic09", 512},
                                                                     {"ic10", 1024}}};
    std::string images;
    std::pair<int, std::string> last;
    for (const auto &[type, edge] : types) {
        if (edge > picture.finestEdge()) {
            continue;
        }
        if (last.first != edge) {
            last = {edge, picture.png(edge)};
        }
        images.append(type).append(bigEndian(headerSize + last.second.size())).append(last.second);
    }
    return std::string(iconMark) + bigEndian(headerSize + images.size()) + images;
}

std::string contentOf(const std::string &path) {
    constexpr std::int64_t limit = 64 << 20U;
    auto content = platform::contentsOfFile(path, limit);
    if (!content) {
        throw Refusal("The icon " + path + " cannot be read");
    }
    return std::move(*content);
}

} // namespace

std::string iconFile(const Request &request) {
    if (!request.icon && request.bundleTemplate) {
        const auto own = platform::contentsOfFile(
            platform::appendingPathComponent(*request.bundleTemplate, "Contents/Resources/app.icns"));
        if (own && canBeShown(*own)) {
            return *own;
        }
    }
    if (!request.icon) {
        return iconFileOf(Picture::ofInitial(request.name, request.identifier));
    }
    std::string content = contentOf(*request.icon);
    if (!content.starts_with(iconMark)) {
        const Picture picture = pictureOf(content, *request.icon);
        if (picture.isBlank()) {
            throw Refusal("The icon " + *request.icon +
                          " shows nothing; what an SVG image takes from other files is not drawn");
        }
        return iconFileOf(picture);
    }
    if (!isIcon(content)) {
        throw Refusal("The icon " + *request.icon + " is not an .icns file, only the beginning of one");
    }
    if (!canBeShown(content)) {
        throw Refusal("The icon " + *request.icon +
                      " has no PNG image, and the progress window cannot show any other; make it " +
                      "with PNG images, one of 128 pixels among them");
    }
    return content;
}

std::vector<SideFile> desktopIcons(const Request &request, const platform::PropertyList &info,
                                   const std::string &iconFile) {
    if (!request.desktopEntry) {
        return {};
    }
    const std::string folder =
        platform::appendingPathComponent(platform::deletingLastPathComponent(*request.desktopEntry), "hicolor");
    const std::string name = stringValue(info, "CFBundleIdentifier").value_or(request.identifier);
    std::vector<SideFile> files;
    for (const int edge : {16, 24, 32, 48, 64, 128, 256, 512}) {
        const auto image = platform::iconImage(iconFile, static_cast<std::uint32_t>(edge));
        const auto picture = Picture::ofPNG(std::string(image.value_or("")));
        if (!picture) {
            throw Refusal("The icon " + request.icon.value_or("") + " has a damaged PNG image");
        }
        if (picture->finestEdge() >= edge) {
            const std::string size = std::to_string(edge);
            std::string path = folder;
            path.append("/").append(size).append("x").append(size).append("/apps/").append(name).append(".png");
            files.push_back({path, picture->png(edge)});
        }
    }
    return files;
}

} // namespace kestrav::tools
