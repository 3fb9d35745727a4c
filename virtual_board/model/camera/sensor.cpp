#include "model/camera/sensor.h"

#include "model/camera/camera_error.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <unordered_set>
#include <utility>

namespace qelm::virtual_board {
namespace {

constexpr unsigned countBits = 8, factorBits = 16; // behind the point
constexpr std::int32_t one = 1 << factorBits;
constexpr std::int32_t white = 4095;
constexpr std::uint64_t longestRow = 8192;
constexpr std::uint64_t mostKeptPatterns = std::uint64_t{4} << 20U;

std::int32_t fixedPoint(double value, unsigned bits) {
    return static_cast<std::int32_t>(std::floor(value * (1 << bits) + 0.5));
}

enum class Stream : std::uint64_t { offset = 1, column, gain, noise, defect };

/** SplitMix64's output function. */
constexpr std::uint64_t mix(std::uint64_t value) {
    value = (value ^ value >> 30) * 0xBF58476D1CE4E5B9U;
    value = (value ^ value >> 27) * 0x94D049BB133111EBU;
    return value ^ value >> 31;
}

/** A sequence of random numbers in which any number can be had at once: SplitMix64 with a key. */
class Randoms {
  public:
    Randoms(std::uint64_t seed, Stream stream, std::uint64_t frame = 0)
        : key_(mix(mix(seed + static_cast<std::uint64_t>(stream) * increment) + frame * increment)) {}

    std::uint64_t at(std::uint64_t index) const { return mix(key_ + (index + 1) * increment); }

    /**
     * Normally distributed with mean 0 and the given standard deviation, which keeps its fixed point: eight bytes
     * added up come close to it, to 4.8 deviations.
     */
    std::int32_t normal(std::uint64_t index, std::int32_t deviation) const {
        constexpr std::uint64_t evenBytes = 0x00FF00FF00FF00FFU;
        const std::uint64_t random = at(index);
        const std::uint64_t pairs = (random & evenBytes) + (random >> 8 & evenBytes);
        const auto sum = static_cast<std::int64_t>(pairs * 0x0001000100010001U >> 48) - 8 * 255 / 2;
        // One deviation of the sum is sqrt(8 * (256^2 - 1) / 12) = 209.02; 2^24 by it:
        constexpr std::int64_t perDeviation = 80266;
        return static_cast<std::int32_t>((sum * perDeviation * deviation + (1 << 23)) >> 24);
    }

  private:
    static constexpr std::uint64_t increment = 0x9E3779B97F4A7C15U;
    std::uint64_t key_;
};

void require(double value, double limit, const char* what) {
    if (!(value >= 0 && value <= limit)) {
        throw CameraError(std::string("the sensor's ") + what + " goes from 0 to " +
                          std::to_string(static_cast<int>(limit)));
    }
}

} // namespace

SensorSettings SensorSettings::typical() {
    return {.black = 64,
            .offset = 8,
            .columnOffset = 6,
            .gain = 3,
            .vignetting = 25,
            .noise = 4,
            .deadPixels = 20,
            .hotPixels = 20};
}

Sensor::Sensor(const SensorSettings& settings, std::uint32_t width, std::uint32_t height)
    : width_(width)
    , height_(height)
    , seed_(settings.seed) {
    require(settings.black, largestCounts, "black level");
    require(settings.offset, largestCounts, "offset");
    require(settings.columnOffset, largestCounts, "column offset");
    require(settings.noise, largestCounts, "noise");
    require(settings.gain, 100, "gain");
    require(settings.vignetting, 100, "vignetting");
    const std::uint64_t most = std::min<std::uint64_t>(std::uint64_t{width} * height / 10, mostDefects);
    if (std::uint64_t{settings.deadPixels} + settings.hotPixels > most) {
        throw CameraError("of this sensor's pixels at most " + std::to_string(most) + " may be dead or hot");
    }
    offset_ = fixedPoint(settings.offset, countBits);
    gain_ = fixedPoint(settings.gain / 100, factorBits);
    noise_ = fixedPoint(settings.noise, countBits);
    vignetting_ = fixedPoint(settings.vignetting / 100, factorBits);
    const std::int32_t black = fixedPoint(settings.black, countBits);
    const std::int32_t column = fixedPoint(settings.columnOffset, countBits);
    isPlain_ = (offset_ | gain_ | noise_ | vignetting_ | black | column) == 0;
    if (!isPlain_) {
        const Randoms randoms(seed_, Stream::column);
        for (std::uint32_t x = 0; x < width; ++x) {
            columnLevels_.push_back(black + randoms.normal(x, column));
            columnVignetting_.push_back(vignettingAt(x, width_));
        }
        if (std::uint64_t{width} * height <= mostKeptPatterns) {
            pattern_.resize(std::size_t{width} * height);
            for (std::uint32_t y = 0; y < height; ++y) {
                makePattern(y, std::span(pattern_).subspan(std::size_t{y} * width, width));
            }
        }
    }
    placeDefects(settings.deadPixels, settings.hotPixels);
}

std::int32_t Sensor::vignettingAt(std::uint32_t position, std::uint32_t length) const {
    // The loss grows with the square of the distance from the middle, so columns and rows have each a part in it.
    const std::int64_t fromMiddle = 2 * std::int64_t{position} + 1 - length;
    const std::int64_t diagonal = std::int64_t{width_} * width_ + std::int64_t{height_} * height_;
    return static_cast<std::int32_t>(vignetting_ * fromMiddle * fromMiddle / diagonal);
}

void Sensor::makePattern(std::uint32_t y, std::span<Pattern> row) const {
    const Randoms offsets(seed_, Stream::offset);
    const Randoms gains(seed_, Stream::gain);
    std::uint64_t index = y * longestRow;
    for (Pattern& pixel : row) {
        pixel.level = offset_ == 0 ? 0 : offsets.normal(index, offset_);
        pixel.response = gain_ == 0 ? one : std::max(one + gains.normal(index, gain_), 0);
        ++index;
    }
}

void Sensor::placeDefects(std::uint32_t dead, std::uint32_t hot) {
    const std::uint64_t pixels = std::uint64_t{width_} * height_;
    const Randoms randoms(seed_, Stream::defect);
    std::unordered_set<std::uint64_t> taken;
    for (std::uint64_t i = 0; taken.size() < std::uint64_t{dead} + hot; ++i) {
        const std::uint64_t place = randoms.at(i) % pixels;
        const bool isDead = taken.size() < dead;
        if (taken.insert(place).second) {
            defects_.push_back({static_cast<std::uint32_t>(place / width_), static_cast<std::uint32_t>(place % width_),
                                static_cast<std::uint16_t>(isDead ? 0 : white)});
        }
    }
    std::sort(defects_.begin(), defects_.end(),
              [](const Defect& a, const Defect& b) { return std::pair(a.y, a.x) < std::pair(b.y, b.x); });
}

void Sensor::expose(std::span<std::uint16_t> row, std::uint32_t y, std::uint64_t frame, double exposure) const {
    // A factor that is no number is taken for 0.
    const double factor = exposure > 0 ? std::min(exposure, largestExposure) : 0;
    const auto light = static_cast<std::int64_t>(fixedPoint(factor, factorBits));
    if (!isPlain_) {
        std::vector<Pattern> made;
        std::span<const Pattern> pattern;
        if (pattern_.empty()) {
            made.resize(row.size());
            makePattern(y, made);
            pattern = made;
        } else {
            pattern = std::span(pattern_).subspan(std::size_t{y} * width_, width_);
        }
        const Randoms noises(seed_, Stream::noise, frame);
        const std::int32_t unlost = one - vignettingAt(y, height_);
        for (std::size_t x = 0; x < row.size(); ++x) {
            const std::int32_t noise = noise_ == 0 ? 0 : noises.normal(y * longestRow + x, noise_);
            const std::int64_t response =
                std::int64_t{unlost - columnVignetting_[x]} * pattern[x].response >> factorBits;
            const std::int32_t level = columnLevels_[x] + pattern[x].level + noise;
            // 12 bits, 18 of the response and 29 of the exposure: no overflow.
            const std::int64_t pixel =
                (row[x] * response * light >> (2 * factorBits - countBits)) + level + (1 << (countBits - 1));
            row[x] = static_cast<std::uint16_t>(std::clamp<std::int64_t>(pixel >> countBits, 0, white));
        }
    } else if (light != one) {
        for (std::uint16_t& pixel : row) {
            pixel = static_cast<std::uint16_t>(std::min<std::int64_t>((pixel * light + one / 2) >> factorBits, white));
        }
    }
    const auto first = std::lower_bound(defects_.begin(), defects_.end(), y,
                                        [](const Defect& defect, std::uint32_t line) { return defect.y < line; });
    for (auto defect = first; defect != defects_.end() && defect->y == y; ++defect) {
        row[defect->x] = defect->value;
    }
}

} // namespace qelm::virtual_board
