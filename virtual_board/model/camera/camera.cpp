#include "model/camera/camera.h"

#include <algorithm>
#include <array>

namespace qelm::virtual_board {
namespace {

const CameraOptions& checked(const CameraOptions& options) {
    options.check();
    return options;
}

Scene sceneOf(const CameraOptions& options) {
    const auto charts = Scene::chartNames();
    return std::find(charts.begin(), charts.end(), options.scene) != charts.end()
               ? Scene::chart(options.scene, options.width, options.height)
               : Scene::fromFile(options.scene);
}

/** Where a tap starts within a line, and the way it goes. */
struct Walk {
    std::size_t start;
    std::ptrdiff_t step;
};

/** The walks of the left and the right tap of a line of twice `clocks` pixels. */
std::array<Walk, 2> walks(Geometry geometry, std::size_t clocks) {
    switch (geometry) {
    case Geometry::outerToMiddle:
        return {{{0, 1}, {2 * clocks - 1, -1}}};
    case Geometry::middleToOuter:
        return {{{clocks - 1, -1}, {clocks, 1}}};
    case Geometry::leftToRight:
        break;
    }
    return {{{0, 1}, {clocks, 1}}};
}

} // namespace

void CameraFrame::line(std::uint32_t index, std::span<LinkWord> words) const {
    // Taps 1 and 2 read the upper half from the first row down, taps 3 and 4 the lower half from the last row up.
    const std::uint32_t width = sensor_->width(), height = sensor_->height();
    std::array<std::array<std::uint16_t, CameraOptions::largestSide>, 2> rows;
    for (std::size_t half = 0; half < 2; ++half) {
        const std::uint32_t y = half == 0 ? index : height - 1 - index;
        const std::span row = std::span(rows[half]).first(width);
        scene_->project(y, height, row);
        sensor_->expose(row, y, number_, exposure_);
    }
    const unsigned cut = Scene::depth - bitsOf(format_);
    const auto [left, right] = walks(geometry_, clocks());
    const std::uint16_t *upperLeft = &rows[0][left.start], *upperRight = &rows[0][right.start];
    const std::uint16_t *lowerLeft = &rows[1][left.start], *lowerRight = &rows[1][right.start];
    const auto pixel = [cut](std::uint16_t value) { return static_cast<std::uint16_t>(value >> cut); };
    std::ptrdiff_t atLeft = 0, atRight = 0;
    for (LinkWord& word : words.first(clocks())) {
        word = onPorts({pixel(upperLeft[atLeft]), pixel(upperRight[atRight]), pixel(lowerLeft[atLeft]),
                        pixel(lowerRight[atRight])},
                       format_);
        atLeft += left.step;
        atRight += right.step;
    }
}

Camera::Camera(const CameraOptions& options)
    : options_(checked(options))
    , scene_(sceneOf(options))
    , sensor_(options.sensor, options.width, options.height) {}

CameraFrame Camera::frame(std::uint64_t number, std::uint64_t exposureTime) const {
    return {scene_,
            sensor_,
            options_.geometry,
            options_.format,
            options_.firstFrame + number,
            options_.exposureFactor(exposureTime)};
}

} // namespace qelm::virtual_board
