#pragma once

#include "features/shading/shading_arithmetic.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

/** The formulas of the shading correction as plain loops in double precision: what the fast ones are held against. */
namespace qelm::features::shading::plain {

inline std::uint32_t sample(const ReferenceImage& image, std::int32_t x, std::int32_t y) {
    const auto position =
        static_cast<std::size_t>(y) * static_cast<std::size_t>(image.width) + static_cast<std::size_t>(x);
    return image.bitsPerSample == 8 ? static_cast<const std::uint8_t*>(image.pixels)[position]
                                    : static_cast<const std::uint16_t*>(image.pixels)[position];
}

inline bool contains(const ReferenceImage& image, std::int32_t x, std::int32_t y) {
    return x < image.width && y < image.height;
}

inline double fullScale(const ReferenceImage& image) {
    return static_cast<double>((1 << image.bitsPerSample) - 1);
}

inline double signal(const ReferenceImage& gray, const ReferenceImage& black, std::int32_t x, std::int32_t y) {
    double n = sample(gray, x, y) / fullScale(gray);
    if (contains(black, x, y)) {
        n -= sample(black, x, y) / fullScale(black);
    }
    return n;
}

template <typename Visit>
void forEachSignal(const ReferenceImage& gray, const ReferenceImage& black, Visit visit) {
    for (std::int32_t y = 0; y < gray.height; ++y) {
        for (std::int32_t x = 0; x < gray.width; ++x) {
            visit(signal(gray, black, x, y));
        }
    }
}

inline double largestSignal(const ReferenceImage& gray, const ReferenceImage& black) {
    double largest = 0.0;
    forEachSignal(gray, black, [&](double n) { largest = std::max(largest, n); });
    return largest;
}

inline double meanSignal(const ReferenceImage& gray, const ReferenceImage& black) {
    double sum = 0.0;
    forEachSignal(gray, black, [&](double n) { sum += n; });
    return sum / (gray.width * gray.height);
}

/** A double as an unsigned integer of 64 bits the way x86 converts it, limited to 16 bits. */
inline std::uint16_t limited(double value) {
    std::uint64_t whole = std::uint64_t{1} << 63; // does not fit, or is not a number
    if (value > -9223372036854775808.0 && value < 9223372036854775808.0) {
        whole = static_cast<std::uint64_t>(static_cast<std::int64_t>(value));
    }
    return static_cast<std::uint16_t>(std::min<std::uint64_t>(whole, 65535));
}

inline std::uint16_t offset(const ReferenceImage& gray, const ReferenceImage& black, std::int32_t x, std::int32_t y,
                            std::optional<std::uint32_t> threshold) {
    const std::uint32_t b = sample(black, x, y);
    const int bits = black.bitsPerSample;
    const double raw = b * 16.0;
    const double coefficient = bits > 12 ? raw / (1 << (bits - 12)) + 0.5 : raw * (1 << (12 - bits));
    if (threshold && contains(gray, x, y)) {
        const bool good =
            b <= *threshold && std::int64_t{sample(gray, x, y)} >= (std::int64_t{1} << bits) - *threshold - 1;
        if (!good) {
            return 65535;
        }
    }
    return static_cast<std::uint16_t>(std::min(coefficient, 65534.0));
}

/** Both planes. */
inline void computeCoefficients(const ReferenceImage& gray, const ReferenceImage& black,
                                const CoefficientSettings& settings, Plane offsets, Plane gains) {
    std::ranges::fill(offsets, std::uint16_t{0});
    for (std::int32_t y = 0; y < std::min(black.height, planeLimit); ++y) {
        for (std::int32_t x = 0; x < std::min(black.width, planeLimit); ++x) {
            offsets[static_cast<std::size_t>(y * planeLimit + x)] = offset(gray, black, x, y, settings.defectThreshold);
        }
    }
    std::ranges::fill(gains, std::uint16_t{4096});
    if (!settings.target) {
        return;
    }
    for (std::int32_t y = 0; y < std::min(gray.height, planeLimit); ++y) {
        for (std::int32_t x = 0; x < std::min(gray.width, planeLimit); ++x) {
            gains[static_cast<std::size_t>(y * planeLimit + x)] =
                limited(*settings.target / signal(gray, black, x, y) * 4096.0 + 0.5);
        }
    }
}

} // namespace qelm::features::shading::plain
