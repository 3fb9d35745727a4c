#pragma once

#include "qelm/host/frame.h"
#include "qelm/host/image_file.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

/**
 * The arithmetic of a calibration. Pixels are counts of 12 bits, fractions included; rows follow each other. In files
 * of 16 bits a count is 16, in those of 8 bits 16 counts are 1, as the board sends left-aligned pixels.
 */
namespace qelm::tool {

inline constexpr double fullScale = 4095; ///< the largest count
inline constexpr double samplesPerCount = 16;

/** The mean of several frames, pixel by pixel, and their noise. */
class Average {
  public:
    Average() = default;
    /** What somebody else has taken. */
    explicit Average(const host::GrayImage& image);

    /** Frames of one format, with right-aligned pixels of 12 bits in 16. @throws std::logic_error for others */
    void add(const host::Frame& frame);

    int width() const { return width_; }
    int height() const { return height_; }
    std::uint32_t frames() const { return frames_; }
    double at(std::size_t pixel) const { return sums_[pixel] / divisor_; }
    std::size_t pixels() const { return sums_.size(); }
    double mean() const;
    /** By how much a pixel differs from frame to frame: the deviation in counts; 0 for a single frame. */
    double noise() const;

  private:
    int width_ = 0, height_ = 0;
    std::uint32_t frames_ = 0;
    double divisor_ = 0; // of the sums
    std::vector<std::uint32_t> sums_;
    std::vector<std::uint16_t> last_;
    double squaredSteps_ = 0; // of all pixels from one frame to the next
};

/** @return the median of each tile of tileSide x tileSide pixels, row by row */
std::vector<double> tileMedians(const Average& average);
inline constexpr int tileSide = 32;

/** Pixels that no offset and gain can correct, 1 for each: too bright in the dark, or by far too dark or bright. */
std::vector<std::uint8_t> findDefects(const Average& black, const Average& gray);

/** How even the pixels are that are not left out. */
struct Uniformity {
    double mean = 0;          ///< counts
    double percent = 0;       ///< deviation of the averaged pixels, in percent of their mean
    double explained = 0;     ///< what the noise alone would leave of it, in percent
    std::size_t outliers = 0; ///< pixels that differ from those around them by more than a fourth
};

/**
 * @param average of fresh frames of an even grey
 * @param referenceFrames as many were averaged for the reference, whose noise stays in the correction; 0: uncorrected
 */
Uniformity uniformityOf(const Average& average, std::uint32_t referenceFrames);

/** How an averaged reference goes into a file. */
struct Reference {
    int bits;                       ///< 8 or 16
    std::vector<std::uint8_t> data; ///< samples, those of 16 bits with the low byte first
};

/**
 * @param bits 8 or 16
 * @param defects pixels that get the sample `defective` instead of theirs
 */
Reference makeReference(const Average& average, int bits, const std::vector<std::uint8_t>& defects,
                        std::uint16_t defective);

} // namespace qelm::tool
