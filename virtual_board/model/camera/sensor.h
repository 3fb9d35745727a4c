#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace qelm::virtual_board {

/** What a sensor adds to the light; everything off at first. Counts are of 4096. */
struct SensorSettings {
    std::uint64_t seed = 1;       /**< of all that is random */
    double black = 0;             /**< black level, in counts; without one, noise below black is cut off */
    double offset = 0;            /**< fixed pattern, per pixel: standard deviation in counts */
    double columnOffset = 0;      /**< fixed pattern, per column: standard deviation in counts */
    double gain = 0;              /**< photo response non-uniformity: standard deviation in percent */
    double vignetting = 0;        /**< what the corners lose, in percent */
    double noise = 0;             /**< read noise, new in each frame: standard deviation in counts */
    std::uint32_t deadPixels = 0; /**< pixels that stay black */
    std::uint32_t hotPixels = 0;  /**< pixels that are always white */

    bool operator==(const SensorSettings&) const = default;

    /** A typical sensor: some of everything. */
    static SensorSettings typical();
};

/**
 * A sensor of 12 bits: how it turns a row of light into pixels. The same settings, size and frame number give the same
 * pixels everywhere: random numbers are hashes of seed, place and frame, and everything is counted in whole numbers.
 * With settings that are off, light passes as it is.
 */
class Sensor {
  public:
    static constexpr double largestExposure = 4096;
    static constexpr double largestCounts = 1024;         /**< of levels and deviations */
    static constexpr std::uint32_t mostDefects = 100'000; /**< and at most a tenth of all pixels */

    /**
     * @param width,height  at most 8192 each
     * @throws CameraError for counts, percentages and numbers of pixels that no sensor has
     */
    Sensor(const SensorSettings& settings, std::uint32_t width, std::uint32_t height);

    std::uint32_t width() const { return width_; }
    std::uint32_t height() const { return height_; }

    /**
     * @param row       light in, pixels out: `width` values of 12 bits
     * @param frame     number of the frame; read noise depends on it
     * @param exposure  factor for the light, 0 to largestExposure, beyond these cut off; 1 takes the light as it is
     */
    void expose(std::span<std::uint16_t> row, std::uint32_t y, std::uint64_t frame, double exposure) const;

  private:
    struct Defect {
        std::uint32_t y, x;
        std::uint16_t value;
    };
    /** What a pixel has of its own in every frame. */
    struct Pattern {
        std::int32_t level;
        std::int32_t response;
    };

    /** Of a row's pixels. */
    void makePattern(std::uint32_t y, std::span<Pattern> row) const;
    /** A column's or row's part of the loss at such a distance from the left or top. */
    std::int32_t vignettingAt(std::uint32_t position, std::uint32_t length) const;
    void placeDefects(std::uint32_t dead, std::uint32_t hot);

    std::uint32_t width_, height_;
    std::uint64_t seed_;
    // In fixed point: counts in 1/256, factors in 1/65536.
    std::int32_t offset_, gain_, noise_;
    std::int32_t vignetting_;
    std::vector<std::int32_t> columnLevels_;     // black level and column offset
    std::vector<std::int32_t> columnVignetting_; // the column's part of the loss
    std::vector<Pattern> pattern_;               // of all pixels; none where there are too many to keep
    std::vector<Defect> defects_;                // in the order of rows
    bool isPlain_;                               // nothing but defects
};

} // namespace qelm::virtual_board
