#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace qelm::virtual_board {

struct Point {
    double x, y;
};

struct Rectangle {
    double left, top, right, bottom;
};

/**
 * Draws into a grey picture, with smooth edges. Coordinates run along the edges of pixels: the first pixel reaches from
 * 0 to 1. What lies outside is cut off. Only exactly rounded operations are used, so that a drawing is the same on
 * every platform.
 */
class Canvas {
  public:
    using Gray = std::uint16_t;

    /** @param pixels  rows from the top, without gaps */
    Canvas(std::span<Gray> pixels, std::uint32_t width, std::uint32_t height)
        : pixels_(pixels)
        , width_(width)
        , height_(height) {}

    /**
     * Gives each pixel of the area the value of `gray`, blended in by `coverage` (0 to 1, beyond these cut off);
     * both are functions of the pixel's centre.
     */
    template <class GrayAt, class CoverageAt>
    void paint(const Rectangle& area, GrayAt gray, CoverageAt coverage);

    /** With edges rounded to whole pixels, at least one pixel wide and high. */
    void fill(const Rectangle& area, Gray gray);
    template <class GrayAt>
    void fillWith(const Rectangle& area, GrayAt gray);

    void disc(Point centre, double radius, Gray gray);
    void ring(Point centre, double radius, double thickness, Gray gray);
    void triangle(Point a, Point b, Point c, Gray gray);
    /** A line with round ends. */
    void line(Point from, Point to, double thickness, Gray gray);
    /** A star of alternating black and white sectors, 64 in all, the resolution growing towards its edge. */
    void star(Point centre, double radius, Gray first, Gray second);

    /** Letters and digits that the charts use; other characters leave a blank. @param height  of a letter */
    void text(std::string_view text, Point centre, double height, Gray gray);
    static double textWidth(std::string_view text, double height);

  private:
    static std::size_t clipped(double edge, std::uint32_t limit) {
        return static_cast<std::size_t>(std::clamp(edge, 0.0, static_cast<double>(limit)));
    }

    std::span<Gray> pixels_;
    std::uint32_t width_, height_;
};

template <class GrayAt, class CoverageAt>
void Canvas::paint(const Rectangle& area, GrayAt gray, CoverageAt coverage) {
    const std::size_t left = clipped(std::floor(area.left), width_), right = clipped(std::ceil(area.right), width_);
    const std::size_t top = clipped(std::floor(area.top), height_), bottom = clipped(std::ceil(area.bottom), height_);
    for (std::size_t y = top; y < bottom; ++y) {
        for (std::size_t x = left; x < right; ++x) {
            const Point at{static_cast<double>(x) + 0.5, static_cast<double>(y) + 0.5};
            const double covered = std::min(coverage(at), 1.0);
            if (covered > 0) {
                Gray& pixel = pixels_[y * width_ + x];
                pixel = static_cast<Gray>(std::lround(pixel * (1 - covered) + gray(at) * covered));
            }
        }
    }
}

template <class GrayAt>
void Canvas::fillWith(const Rectangle& area, GrayAt gray) {
    const double left = std::floor(area.left + 0.5), top = std::floor(area.top + 0.5);
    const Rectangle whole{left, top, std::max(left + 1, std::floor(area.right + 0.5)),
                          std::max(top + 1, std::floor(area.bottom + 0.5))};
    paint(whole, gray, [](Point) { return 1.0; });
}

} // namespace qelm::virtual_board
