#pragma once

#include "qelm/host/frame.h"

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

/** Pictures as a screen wants them, and their statistics. */
namespace qelm::server {

/** How several pixels become one. */
enum class Reduction : std::uint8_t { nearest, mean, maximum };

/** @return "nearest", "mean" or "max" */
std::string_view reductionName(Reduction reduction);
/** @param[out] reduction @return false for another name */
bool readReduction(std::string_view name, Reduction& reduction);

/** A part of a picture, and the size that it is wanted in: never larger than the part. */
struct View {
    std::int32_t x = 0, y = 0, width = 0, height = 0;
    std::int32_t outWidth = 0, outHeight = 0;
    Reduction reduce = Reduction::mean;
};

/** The most pixels that a view sends. */
inline constexpr std::int64_t mostViewPixels = 2'000'000;

/**
 * The view that is nearest to the one wanted: inside the picture, not enlarged, no more pixels than a view sends. A
 * width or height of 0 stands for the whole picture, an outWidth or outHeight of 0 for the part's own.
 */
View fittingView(View wanted, const host::FrameFormat& format);

/** @return outWidth x outHeight values, rows from the top down */
std::vector<std::uint16_t> reduce(const host::Frame& frame, const View& view);

/** What all pixels of a picture come to. */
struct Histogram {
    std::vector<std::uint64_t> counts; ///< of the values 0, step, 2 * step, ...
    std::uint32_t step = 1;            ///< between neighbouring values: 16 where 12 bits are left-aligned
    std::uint32_t full = 255;          ///< the largest value of the format
    std::uint32_t minimum = 0, maximum = 0;
    double mean = 0.0;
    std::uint64_t saturated = 0; ///< pixels at the largest value
    std::uint64_t pixels = 0;
};
Histogram histogramOf(const host::Frame& frame);

/** The values along a line, nearest pixels, ends included. The ends lie in the picture. */
std::vector<std::uint16_t> profile(const host::Frame& frame, std::int32_t x0, std::int32_t y0, std::int32_t x1,
                                   std::int32_t y1);

/** As reduce, the upper 8 bits of the format's depth. */
std::vector<std::uint8_t> reduceToBytes(const host::Frame& frame, const View& view);

} // namespace qelm::server
