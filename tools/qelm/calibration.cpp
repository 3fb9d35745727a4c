#include "calibration.h"

#include "levels.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <stdexcept>

namespace qelm::tool {
namespace {

double medianOf(std::vector<double>& values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/** Calls use(value of the tile that a pixel lies in, pixel) for all. */
template <class Use>
void forEachInTiles(const Average& average, const std::vector<double>& tiles, Use&& use) {
    const int perRow = (average.width() + tileSide - 1) / tileSide;
    std::size_t pixel = 0;
    for (int y = 0; y < average.height(); ++y) {
        for (int x = 0; x < average.width(); ++x, ++pixel) {
            use(tiles[static_cast<std::size_t>(y / tileSide * perRow + x / tileSide)], pixel);
        }
    }
}

} // namespace

Average::Average(const host::GrayImage& image)
    : width_(image.width)
    , height_(image.height)
    , frames_(1)
    , divisor_(image.bits == 8 ? 1 / samplesPerCount : samplesPerCount)
    , sums_(image.samples.begin(), image.samples.end()) {}

void Average::add(const host::Frame& frame) {
    const host::FrameFormat& format = frame.format();
    if (format.bits != 16 || (frames_ > 0 && (format.width != width_ || format.height != height_))) {
        throw std::logic_error("an average takes frames of 16 bits and one size");
    }
    if (frames_++ == 0) {
        width_ = format.width;
        height_ = format.height;
        sums_.assign(format.pixels(), 0);
        last_.resize(format.pixels());
    }
    divisor_ = frames_;
    const bool isFirst = frames_ == 1;
    std::size_t i = 0;
    forEachPixel(frame, [&](unsigned pixel) {
        const double step = static_cast<double>(pixel) - last_[i];
        squaredSteps_ += isFirst ? 0.0 : step * step;
        sums_[i] += pixel;
        last_[i] = static_cast<std::uint16_t>(pixel);
        ++i;
    });
}

double Average::mean() const {
    const double sum = std::accumulate(sums_.begin(), sums_.end(), 0.0);
    return sum / divisor_ / static_cast<double>(std::max<std::size_t>(1, sums_.size()));
}

double Average::noise() const {
    return frames_ < 2 ? 0 : std::sqrt(squaredSteps_ / 2 / (frames_ - 1) / static_cast<double>(sums_.size()));
}

std::vector<double> tileMedians(const Average& average) {
    std::vector<double> medians, tile;
    for (int top = 0; top < average.height(); top += tileSide) {
        for (int left = 0; left < average.width(); left += tileSide) {
            tile.clear();
            for (int y = top; y < std::min(top + tileSide, average.height()); ++y) {
                for (int x = left; x < std::min(left + tileSide, average.width()); ++x) {
                    tile.push_back(average.at(static_cast<std::size_t>(y) * static_cast<std::size_t>(average.width()) +
                                              static_cast<std::size_t>(x)));
                }
            }
            medians.push_back(medianOf(tile));
        }
    }
    return medians;
}

std::vector<std::uint8_t> findDefects(const Average& black, const Average& gray) {
    std::vector<std::uint8_t> defects(black.pixels());
    // In the dark a pixel may differ by its fixed pattern, of which the median deviation tells a robust measure.
    std::vector<double> levels(black.pixels());
    for (std::size_t i = 0; i < levels.size(); ++i) {
        levels[i] = black.at(i);
    }
    const double median = medianOf(levels);
    std::ranges::transform(levels, levels.begin(), [&](double level) { return std::abs(level - median); });
    const double tolerance = std::max(0.05 * fullScale, 15 * medianOf(levels)); // some 10 standard deviations
    for (std::size_t i = 0; i < defects.size(); ++i) {
        defects[i] = black.at(i) - median > tolerance ? 1 : 0;
    }
    // In the light its answer is compared with those around it, since lenses leave corners dark.
    const std::vector<double> dark = tileMedians(black), bright = tileMedians(gray);
    std::vector<double> answers(dark.size());
    std::ranges::transform(bright, dark, answers.begin(), std::minus<>());
    forEachInTiles(gray, answers, [&](double around, std::size_t i) {
        const double answer = gray.at(i) - black.at(i);
        if (answer < 0.5 * around || answer > 1.5 * around) {
            defects[i] = 1;
        }
    });
    return defects;
}

Uniformity uniformityOf(const Average& average, std::uint32_t referenceFrames) {
    Uniformity result;
    std::vector<std::uint8_t> outliers(average.pixels());
    forEachInTiles(average, tileMedians(average), [&](double around, std::size_t i) {
        outliers[i] = std::abs(average.at(i) - around) > 0.25 * around ? 1 : 0;
    });
    double sum = 0, squares = 0;
    std::size_t counted = 0;
    for (std::size_t i = 0; i < average.pixels(); ++i) {
        if (outliers[i] != 0) {
            ++result.outliers;
            continue;
        }
        sum += average.at(i);
        squares += average.at(i) * average.at(i);
        ++counted;
    }
    if (counted == 0 || sum <= 0) {
        return result;
    }
    const auto count = static_cast<double>(counted);
    result.mean = sum / count;
    result.percent = std::sqrt(std::max(0.0, squares / count - result.mean * result.mean)) / result.mean * 100;
    const double share = 1.0 / average.frames() + (referenceFrames > 0 ? 1.0 / referenceFrames : 0.0);
    result.explained = average.noise() * std::sqrt(share) / result.mean * 100;
    return result;
}

Reference makeReference(const Average& average, int bits, const std::vector<std::uint8_t>& defects,
                        std::uint16_t defective) {
    Reference reference{bits, {}};
    const double largest = bits == 8 ? 255 : 65535;
    for (std::size_t i = 0; i < average.pixels(); ++i) {
        const double level = bits == 8 ? average.at(i) / samplesPerCount : average.at(i) * samplesPerCount;
        const double sample = defects[i] != 0 ? defective : std::round(level);
        const auto whole = static_cast<unsigned>(std::clamp(sample, 0.0, largest));
        reference.data.push_back(static_cast<std::uint8_t>(whole & 0xFF));
        if (bits == 16) {
            reference.data.push_back(static_cast<std::uint8_t>(whole >> 8));
        }
    }
    return reference;
}

} // namespace qelm::tool
