#include "Picture.h"

#include "Request.h"
#include "platform/text.h"

#include <librsvg/rsvg.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <cwchar>
#include <cwctype>
#include <limits>
#include <memory>
#include <string_view>

namespace kestrav::tools {

namespace {

constexpr int unlimited = std::numeric_limits<int>::max();

struct Destroy {
    void operator()(cairo_surface_t *surface) const { cairo_surface_destroy(surface); }
    void operator()(cairo_t *context) const { cairo_destroy(context); }
    void operator()(RsvgHandle *image) const { g_object_unref(image); }
    void operator()(GError *error) const { g_error_free(error); }
};
template <class T> using Owned = std::unique_ptr<T, Destroy>;

cairo_status_t readPart(void *source, unsigned char *to, unsigned int size) {
    auto &rest = *static_cast<std::string_view *>(source);
    if (rest.size() < size) {
        return CAIRO_STATUS_READ_ERROR;
    }
    std::memcpy(to, rest.data(), size);
    rest.remove_prefix(size);
    return CAIRO_STATUS_SUCCESS;
}

cairo_status_t appendPart(void *target, const unsigned char *from, unsigned int size) {
    static_cast<std::string *>(target)->append(reinterpret_cast<const char *>(from), size);
    return CAIRO_STATUS_SUCCESS;
}

/// An image, scaled to fill the square without being distorted.
bool drawImage(cairo_t *context, cairo_surface_t *image, double edge) {
    const double width = cairo_image_surface_get_width(image);
    const double height = cairo_image_surface_get_height(image);
    const double scale = edge / std::max(width, height);
    cairo_translate(context, (edge - width * scale) / 2, (edge - height * scale) / 2);
    cairo_scale(context, scale, scale);
    cairo_set_source_surface(context, image, 0, 0);
    cairo_pattern_set_filter(cairo_get_source(context), CAIRO_FILTER_BEST);
    cairo_paint(context);
    return true;
}

/// The first letter or digit, else the first character, in upper case.
std::string initialOf(const std::string &name) {
    std::mbstate_t state{};
    wchar_t initial = L'?';
    for (std::string_view rest = name; !rest.empty();) {
        wchar_t character = 0;
        const std::size_t length = std::mbrtowc(&character, rest.data(), rest.size(), &state);
        if (length == 0 || length > rest.size()) {
            break;
        }
        initial = rest.size() == name.size() ? character : initial;
        if (std::iswalnum(static_cast<std::wint_t>(character)) != 0) {
            initial = character;
            break;
        }
        rest.remove_prefix(length);
    }
    std::array<char, MB_LEN_MAX> bytes{};
    std::mbstate_t fresh{};
    const auto upper = static_cast<wchar_t>(std::towupper(static_cast<std::wint_t>(initial)));
    const std::size_t length = std::wcrtomb(bytes.data(), upper, &fresh);
    return length > bytes.size() ? "?" : std::string(bytes.data(), length);
}

/// One of some colours that suit a white letter.
std::array<double, 3> colourOf(const std::string &identifier) {
    constexpr std::array<std::array<double, 3>, 6> colours{{{0.16, 0.38, 0.68},
                                                            {0.10, 0.48, 0.44},
                                                            {0.50, 0.26, 0.60},
                                                            {0.72, 0.28, 0.20},
                                                            {0.24, 0.46, 0.20},
                                                            {0.32, 0.36, 0.44}}};
    std::uint32_t sum = 0;
    for (const char character : identifier) {
        sum = sum * 31 + static_cast<unsigned char>(character);
    }
    return colours[sum % colours.size()];
}

void drawGround(cairo_t *context, double edge, const std::array<double, 3> &colour) {
    const double margin = edge / 16;
    const double radius = edge / 5;
    const double near = margin + radius;
    const double far = edge - near;
    cairo_new_sub_path(context);
    cairo_arc(context, far, near, radius, -M_PI_2, 0);
    cairo_arc(context, far, far, radius, 0, M_PI_2);
    cairo_arc(context, near, far, radius, M_PI_2, M_PI);
    cairo_arc(context, near, near, radius, M_PI, 3 * M_PI_2);
    cairo_close_path(context);
    cairo_set_source_rgb(context, colour[0], colour[1], colour[2]);
    cairo_fill(context);
}

void drawLetter(cairo_t *context, double edge, const std::string &letter) {
    cairo_select_font_face(context, "sans-serif", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_BOLD);
    cairo_set_font_size(context, edge * 0.6);
    cairo_text_extents_t extents{};
    cairo_text_extents(context, letter.c_str(), &extents);
    cairo_move_to(context, edge / 2 - extents.x_bearing - extents.width / 2,
                  edge / 2 - extents.y_bearing - extents.height / 2);
    cairo_set_source_rgb(context, 1, 1, 1);
    cairo_show_text(context, letter.c_str());
}

} // namespace

std::optional<Picture> Picture::ofPNG(const std::string &image) {
    std::string_view rest = image;
    const std::shared_ptr<cairo_surface_t> surface(cairo_image_surface_create_from_png_stream(readPart, &rest),
                                                   Destroy());
    if (cairo_surface_status(surface.get()) != CAIRO_STATUS_SUCCESS) {
        return std::nullopt;
    }
    const int finest =
        std::max(cairo_image_surface_get_width(surface.get()), cairo_image_surface_get_height(surface.get()));
    return Picture([surface](cairo_t *context, double edge) { return drawImage(context, surface.get(), edge); },
                   finest);
}

std::optional<Picture> Picture::ofSVG(const std::string &image, std::string &error) {
    GError *failure = nullptr;
    const std::shared_ptr<RsvgHandle> handle(
        rsvg_handle_new_from_data(reinterpret_cast<const guint8 *>(image.data()), image.size(), &failure),
        [](RsvgHandle *each) {
            if (each != nullptr) {
                g_object_unref(each);
            }
        });
    if (!handle) {
        error = platform::trimmingWhitespaceAndNewlines(Owned<GError>(failure)->message);
        return std::nullopt;
    }
    return Picture(
        [handle](cairo_t *context, double edge) {
            const RsvgRectangle square{0, 0, edge, edge};
            return rsvg_handle_render_document(handle.get(), context, &square, nullptr) != FALSE;
        },
        unlimited);
}

Picture Picture::ofInitial(const std::string &name, const std::string &identifier) {
    return {[letter = initialOf(name), colour = colourOf(identifier)](cairo_t *context, double edge) {
                drawGround(context, edge, colour);
                drawLetter(context, edge, letter);
                return true;
            },
            unlimited};
}

std::shared_ptr<cairo_surface_t> Picture::drawn(int edge) const {
    std::shared_ptr<cairo_surface_t> surface(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, edge, edge), Destroy());
    const Owned<cairo_t> context(cairo_create(surface.get()));
    if (!draw_(context.get(), edge) || cairo_status(context.get()) != CAIRO_STATUS_SUCCESS) {
        throw Refusal("The icon could not be drawn with " + std::to_string(edge) + " pixels");
    }
    return surface;
}

bool Picture::isBlank() const {
    constexpr int edge = 128;
    const auto surface = drawn(edge);
    cairo_surface_flush(surface.get());
    const auto size = static_cast<std::size_t>(cairo_image_surface_get_stride(surface.get())) * edge;
    const unsigned char *bytes = cairo_image_surface_get_data(surface.get());
    return std::all_of(bytes, bytes + size, [](unsigned char byte) { return byte == 0; });
}

std::string Picture::png(int edge) const {
    std::string image;
    if (cairo_surface_write_to_png_stream(drawn(edge).get(), appendPart, &image) != CAIRO_STATUS_SUCCESS) {
        throw Refusal("The icon could not be written with " + std::to_string(edge) + " pixels");
    }
    return image;
}

} // namespace kestrav::tools
