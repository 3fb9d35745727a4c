#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace qelm::virtual_board {

/** What a virtual camera looks at: a grey picture of 12-bit values. */
class Scene {
  public:
    static constexpr unsigned depth = 12; /**< bits of a pixel */
    static constexpr std::uint16_t white = (1U << depth) - 1;
    static constexpr std::uint32_t chartSides[2] = {2, 8192}; /**< smallest and largest side of a built-in chart */
    static constexpr std::uint32_t largestSide = 16384;       /**< of a picture */

    /** The names of the built-in charts; the first is the default. */
    static std::span<const std::string_view> chartNames();

    /** @throws CameraError for a name that is none of chartNames() and for sides beyond chartSides */
    static Scene chart(std::string_view name, std::uint32_t width, std::uint32_t height);

    /**
     * From rows of grey values without gaps, 8 or 16 bits in the machine's order; 16-bit values lose their lowest four
     * bits.
     *
     * @throws CameraError for other bits and for sides of 0 or beyond largestSide
     */
    static Scene fromImage(const void* pixels, std::uint32_t width, std::uint32_t height, unsigned bits);

    /**
     * Reads a grey TIFF or PNG file of 8 or 16 bits.
     *
     * @param path  see fromUtf8
     * @throws CameraError when the file does not hold such a picture
     */
    static Scene fromFile(const std::string& path);

    std::uint32_t width() const { return width_; }
    std::uint32_t height() const { return height_; }
    std::span<const std::uint16_t> row(std::uint32_t y) const {
        return std::span(pixels_).subspan(std::size_t{y} * width_, width_);
    }

    /**
     * A row as a sensor of width x height pixels sees it: the scene lies in the middle of the sensor, unscaled. What
     * does not fit is cut off; what it does not fill is black. Where no exact middle exists, the scene lies half a
     * pixel to the left or top.
     *
     * @param row  `width` pixels
     */
    void project(std::uint32_t y, std::uint32_t height, std::span<std::uint16_t> row) const;

  private:
    Scene(std::uint32_t width, std::uint32_t height)
        : width_(width)
        , height_(height)
        , pixels_(std::size_t{width} * height) {}

    std::uint32_t width_, height_;
    std::vector<std::uint16_t> pixels_;
};

} // namespace qelm::virtual_board
