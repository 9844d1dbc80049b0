#pragma once

#include <cairo.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace kestrav::tools {

/// A square picture that can be drawn in many sizes.
class Picture {
public:
    /// A PNG image, in the middle; empty if it cannot be read.
    [[nodiscard]] static std::optional<Picture> ofPNG(const std::string &image);

    /// An SVG image, in the middle; empty, with the reason in `error`, if it cannot be read. What it refers to in other
    /// files is left out.
    [[nodiscard]] static std::optional<Picture> ofSVG(const std::string &image, std::string &error);

    /// The first letter of the name, on a ground whose colour the identifier decides.
    [[nodiscard]] static Picture ofInitial(const std::string &name, const std::string &identifier);

    /// The edge up to which it has details.
    [[nodiscard]] int finestEdge() const { return finestEdge_; }

    /// True if nothing of it can be seen.
    [[nodiscard]] bool isBlank() const;

    /// The picture as a PNG image with that many pixels on each side.
    [[nodiscard]] std::string png(int edge) const;

private:
    /// Draws into a square; false after a failure.
    using Draw = std::function<bool(cairo_t *, double)>;
    Picture(Draw draw, int finestEdge) : draw_(std::move(draw)), finestEdge_(finestEdge) {}

    /// The picture with that many pixels on each side.
    [[nodiscard]] std::shared_ptr<cairo_surface_t> drawn(int edge) const;

    Draw draw_;
    int finestEdge_;
};

} // namespace kestrav::tools
