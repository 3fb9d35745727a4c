#include "features/shading_arithmetic.h"

#include <algorithm>
#include <array>
#include <bitset>
#include <cstring>

// Row kernels are plain loops, compiled once for the baseline and once for a larger instruction set.
#define QELM_INLINE inline __attribute__((always_inline))

// Not on Windows: there GCC aligns 32-byte stack slots to 16 bytes.
#if defined(__x86_64__) && !defined(_WIN32)
#define QELM_HAS_AVX2 1
#else
#define QELM_HAS_AVX2 0
#endif

namespace qelm::features::shading {
namespace {

using Samples = const std::uint16_t* __restrict;
using Coefficients = std::uint16_t* __restrict;

constexpr std::size_t rowLimit = planeLimit;
constexpr std::int32_t fullScale = 65535;
constexpr std::uint16_t computedOffsetLimit = 65534;
constexpr std::int32_t coefficientLimit = 65535;

// -- One pixel -----------------------------------------------------------------------------------------------------

// Samples of 8 bits are taken times 257: full scale becomes the same, and a signal, rounded once, does too.

/**
 * sample / 65535.0 with all its bits, without the division: 1 / 65535 is 2^-16 + 2^-32, by which a sample multiplies
 * exactly, and a rest so small that its rounding cannot move the sum's.
 */
QELM_INLINE double signal(std::uint16_t sample) {
    constexpr double leading = 0x1p-16 + 0x1p-32;
    constexpr double rest = 0x1p-32 / fullScale;
    const double value = sample;
    return value * leading + value * rest;
}

QELM_INLINE double signal(std::uint16_t gray, std::uint16_t black) {
    return signal(gray) - signal(black);
}

/**
 * target / signal in fixed point. Conversion to an unsigned integer of 64 bits, wrapping around and then limited, is
 * what defines the outcome for a signal that is 0 or negative.
 */
std::uint16_t gainOf(double target, std::uint16_t gray, std::uint16_t black) {
    const double gain = target / signal(gray, black) * unityGain + 0.5;
    if (gain > -1.0 && gain < coefficientLimit) {
        return static_cast<std::uint16_t>(static_cast<std::int32_t>(gain));
    }
    return coefficientLimit;
}

// -- Row kernels ---------------------------------------------------------------------------------------------------

/** Samples are compared as their signals are, so that depths mix. */
struct OffsetRules {
    std::uint16_t sampleMask;  ///< takes the computed offset out of a sample
    std::int32_t largestBlack; ///< of a good pixel
    std::int32_t smallestGray; ///< of a good pixel
};

QELM_INLINE void widenRow(const std::uint8_t* __restrict samples, Coefficients wide, std::size_t count) {
    for (std::size_t x = 0; x < count; ++x) {
        wide[x] = static_cast<std::uint16_t>(samples[x] << 8 | samples[x]);
    }
}

QELM_INLINE std::uint16_t offsetOf(std::uint16_t black, const OffsetRules& rules) {
    return std::min<std::uint16_t>(black & rules.sampleMask, computedOffsetLimit);
}

QELM_INLINE void offsetRow(Samples black, Coefficients offsets, std::size_t count, const OffsetRules& rules) {
    for (std::size_t x = 0; x < count; ++x) {
        offsets[x] = offsetOf(black[x], rules);
    }
}

QELM_INLINE void offsetAndDefectRow(Samples black, Samples gray, Coefficients offsets, std::size_t count,
                                    const OffsetRules& rules) {
    // Saturating both limits keeps the comparisons in 16 bits.
    const auto largestBlack = static_cast<std::uint16_t>(std::min(rules.largestBlack, fullScale));
    const auto smallestGray = static_cast<std::uint16_t>(std::min(rules.smallestGray, fullScale));
    const bool noneIsGood = rules.smallestGray > fullScale;
    if (noneIsGood) {
        std::fill_n(offsets, count, defectiveOffset);
        return;
    }
    for (std::size_t x = 0; x < count; ++x) {
        const auto tooDark = static_cast<std::uint16_t>(std::max(smallestGray, gray[x]) - gray[x]);
        const auto tooBright = static_cast<std::uint16_t>(std::max(largestBlack, black[x]) - largestBlack);
        const auto good = static_cast<std::uint16_t>((tooDark | tooBright) == 0 ? 0 : defectiveOffset);
        offsets[x] = static_cast<std::uint16_t>(offsetOf(black[x], rules) | good);
    }
}

/**
 * Single precision gives two estimates that enclose the exact gain. Where both lead to the same coefficient, that is
 * it; elsewhere, for less than one pixel in a hundred, the exact formula decides.
 */
QELM_INLINE void gainRow(Samples gray, Samples black, Coefficients gains, std::size_t count, double target) {
    // Relative errors in units of 2^-24: one each for the factor, the quotient, the product and the sum; the exact
    // formula's own are smaller by far. `low` stays 4 units below, and `widening` leads from there to 2 above.
    constexpr float widening = 1.0F + 5 * 0x1p-23F;
    const auto low = static_cast<float>(target * fullScale * unityGain * (1.0 - 0x1p-22));
    constexpr auto limit = static_cast<float>(coefficientLimit);
    const auto coefficient = [](float gain) {
        // Infinite for no difference at all, or not a number: neither is less.
        const auto whole = static_cast<std::int32_t>(gain < limit ? gain : limit);
        return static_cast<std::uint16_t>(whole | whole >> 31);
    };
    constexpr std::size_t blockSize = 64;
    std::uint16_t upper[blockSize];
    for (std::size_t start = 0; start < count; start += blockSize) {
        const std::size_t size = std::min(blockSize, count - start);
        const Samples grayBlock = gray + start;
        const Samples blackBlock = black + start;
        const Coefficients gainBlock = gains + start;
        for (std::size_t x = 0; x < size; ++x) {
            const auto difference = static_cast<float>(grayBlock[x] - blackBlock[x]);
            const float quotient = low / difference;
            gainBlock[x] = coefficient(quotient + 0.5F);
            upper[x] = coefficient(quotient * widening + 0.5F);
        }
        if (std::memcmp(gainBlock, upper, size * sizeof *upper) != 0) {
            for (std::size_t x = 0; x < size; ++x) {
                if (gainBlock[x] != upper[x]) {
                    gainBlock[x] = gainOf(target, grayBlock[x], blackBlock[x]);
                }
            }
        }
    }
}

QELM_INLINE std::uint16_t largestDifferenceOfRow(Samples gray, Samples black, std::size_t count) {
    std::uint16_t largest = 0;
    for (std::size_t x = 0; x < count; ++x) {
        largest = std::max(largest, static_cast<std::uint16_t>(std::max(gray[x], black[x]) - black[x]));
    }
    return largest;
}

/** The order of the additions is part of the result; the signals are not, and come in blocks. */
QELM_INLINE double sumRow(double sum, Samples gray, Samples black, std::size_t count) {
    constexpr std::size_t blockSize = 256;
    double signals[blockSize];
    for (std::size_t start = 0; start < count; start += blockSize) {
        const std::size_t size = std::min(blockSize, count - start);
        for (std::size_t x = 0; x < size; ++x) {
            signals[x] = signal(gray[start + x], black[start + x]);
        }
        for (std::size_t x = 0; x < size; ++x) {
            sum += signals[x];
        }
    }
    return sum;
}

struct Kernels {
    void (*widen)(const std::uint8_t*, std::uint16_t*, std::size_t);
    void (*offsets)(const std::uint16_t*, std::uint16_t*, std::size_t, const OffsetRules&);
    void (*offsetsAndDefects)(const std::uint16_t*, const std::uint16_t*, std::uint16_t*, std::size_t,
                              const OffsetRules&);
    void (*gains)(const std::uint16_t*, const std::uint16_t*, std::uint16_t*, std::size_t, double);
    std::uint16_t (*largestDifference)(const std::uint16_t*, const std::uint16_t*, std::size_t);
    double (*sum)(double, const std::uint16_t*, const std::uint16_t*, std::size_t);
};

/** The kernels as the compiler makes them for one instruction set. */
#define QELM_KERNELS(name, target)                                                                                     \
    constexpr Kernels name {                                                                                           \
        [](auto... arguments) target { widenRow(arguments...); },                                                      \
            [](Samples black, std::uint16_t* offsets, std::size_t count, const OffsetRules& rules)                     \
                target { offsetRow(black, offsets, count, rules); },                                                   \
            [](Samples black, Samples gray, std::uint16_t* offsets, std::size_t count, const OffsetRules& rules)       \
                target { offsetAndDefectRow(black, gray, offsets, count, rules); },                                    \
            [](auto... arguments) target { gainRow(arguments...); },                                                   \
            [](auto... arguments) target { return largestDifferenceOfRow(arguments...); },                             \
            [](auto... arguments) target { return sumRow(arguments...); },                                             \
    }

QELM_KERNELS(baselineKernels, );
#if QELM_HAS_AVX2
QELM_KERNELS(avx2Kernels, __attribute__((target("avx2"))));
#endif
#undef QELM_KERNELS

const Kernels& kernelsOf(InstructionSet instructions) {
#if QELM_HAS_AVX2
    if (instructions == InstructionSet::avx2) {
        return avx2Kernels;
    }
#else
    static_cast<void>(instructions);
#endif
    return baselineKernels;
}

// -- Images --------------------------------------------------------------------------------------------------------

constexpr std::array<std::uint16_t, rowLimit> noSignal{};

/** Hands out the rows of an image as samples of 16 bits, in pieces of at most rowLimit. */
class Rows {
  public:
    Rows(const ReferenceImage& image, const Kernels& kernels) : image_(image), kernels_(kernels) {}

    /** How many columns from `start` on a piece can have. */
    std::size_t columns(std::size_t y, std::size_t start) const {
        const auto width = static_cast<std::size_t>(image_.width);
        const bool inside = y < static_cast<std::size_t>(image_.height) && start < width;
        return inside ? std::min(width - start, rowLimit) : 0;
    }

    /** A piece, valid until the next one is asked for. */
    const std::uint16_t* piece(std::size_t y, std::size_t start, std::size_t count) {
        const std::size_t position = y * static_cast<std::size_t>(image_.width) + start;
        if (image_.bitsPerSample > 8) {
            return static_cast<const std::uint16_t*>(image_.pixels) + position;
        }
        kernels_.widen(static_cast<const std::uint8_t*>(image_.pixels) + position, wide_.data(), count);
        return wide_.data();
    }

  private:
    const ReferenceImage& image_;
    const Kernels& kernels_;
    std::array<std::uint16_t, rowLimit> wide_;
};

/** Walks over the whole grey image, piece by piece in order; where there is no black pixel its sample is 0. */
template <typename Visit>
void forEachPiece(const ReferenceImage& gray, const ReferenceImage& black, const Kernels& kernels, Visit visit) {
    Rows grayRows(gray, kernels);
    Rows blackRows(black, kernels);
    for (std::size_t y = 0; y < static_cast<std::size_t>(gray.height); ++y) {
        std::size_t count = 0;
        for (std::size_t x = 0; (count = grayRows.columns(y, x)) > 0; x += count) {
            const std::size_t both = std::min(count, blackRows.columns(y, x));
            count = both > 0 ? both : count;
            visit(grayRows.piece(y, x, count), both > 0 ? blackRows.piece(y, x, count) : noSignal.data(), count);
        }
    }
}

OffsetRules offsetRules(const ReferenceImage& gray, const ReferenceImage& black, std::uint32_t threshold) {
    const auto scale = [](const ReferenceImage& image, std::int64_t sample) {
        constexpr std::int64_t beyond = fullScale + 1;
        return static_cast<std::int32_t>(
            std::clamp(image.bitsPerSample > 8 ? sample : sample * 257, std::int64_t{0}, beyond));
    };
    const std::int64_t largestSample = (std::int64_t{1} << black.bitsPerSample) - 1; // also where grey is meant
    return {.sampleMask = static_cast<std::uint16_t>(black.bitsPerSample > 8 ? 0xFFFF : 0xFF00),
            .largestBlack = scale(black, threshold),
            .smallestGray = scale(gray, largestSample - std::int64_t{threshold})};
}

} // namespace

InstructionSet bestInstructionSet() {
#if QELM_HAS_AVX2
    static const bool avx2 = __builtin_cpu_supports("avx2") != 0;
    return avx2 ? InstructionSet::avx2 : InstructionSet::baseline;
#else
    return InstructionSet::baseline;
#endif
}

double largestSignal(const ReferenceImage& gray, const ReferenceImage& black, InstructionSet instructions) {
    // A larger difference of samples is a larger signal. Equal ones differ by roundings, so each grey sample with the
    // largest difference is remembered, and the signals decide in the end.
    const Kernels& kernels = kernelsOf(instructions);
    std::uint16_t largest = 0;
    std::bitset<fullScale + 1> grays;
    forEachPiece(gray, black, kernels, [&](const std::uint16_t* g, const std::uint16_t* b, std::size_t count) {
        const std::uint16_t here = kernels.largestDifference(g, b, count);
        if (here > largest) {
            largest = here;
            grays.reset();
        }
        if (here < largest || largest == 0 || largest == fullScale) { // the latter: one pair of samples leads there
            return;
        }
        for (std::size_t x = 0; x < count; ++x) {
            if (g[x] - b[x] == largest) {
                grays.set(g[x]);
            }
        }
    });
    double result = largest == fullScale ? 1.0 : 0.0;
    for (std::size_t g = 0; g < grays.size(); ++g) {
        if (grays.test(g)) {
            result = std::max(result, signal(static_cast<std::uint16_t>(g), static_cast<std::uint16_t>(g - largest)));
        }
    }
    return result;
}

double meanSignal(const ReferenceImage& gray, const ReferenceImage& black, InstructionSet instructions) {
    const Kernels& kernels = kernelsOf(instructions);
    double sum = 0.0;
    forEachPiece(gray, black, kernels, [&](const std::uint16_t* g, const std::uint16_t* b, std::size_t count) {
        sum = kernels.sum(sum, g, b, count);
    });
    // The product has 32 bits, as callers of very large images know it.
    const auto pixels =
        static_cast<std::int32_t>(static_cast<std::uint32_t>(gray.height) * static_cast<std::uint32_t>(gray.width));
    return sum / pixels;
}

void computeCoefficients(const ReferenceImage& gray, const ReferenceImage& black, const CoefficientSettings& settings,
                         Plane offsets, Plane gains, InstructionSet instructions) {
    const Kernels& kernels = kernelsOf(instructions);
    const OffsetRules rules = offsetRules(gray, black, settings.defectThreshold.value_or(0));
    Rows grayRows(gray, kernels);
    Rows blackRows(black, kernels);
    for (std::size_t y = 0; y < rowLimit; ++y) {
        std::uint16_t* const offsetsHere = offsets.data() + y * rowLimit;
        std::uint16_t* const gainsHere = gains.data() + y * rowLimit;
        const std::size_t grayColumns = grayRows.columns(y, 0);
        const std::size_t blackColumns = blackRows.columns(y, 0);
        const std::size_t both = std::min(grayColumns, blackColumns);
        const std::uint16_t* const g = grayColumns > 0 ? grayRows.piece(y, 0, grayColumns) : nullptr;
        const std::uint16_t* const b = blackColumns > 0 ? blackRows.piece(y, 0, blackColumns) : nullptr;

        const std::size_t tested = settings.defectThreshold ? both : 0;
        kernels.offsetsAndDefects(b, g, offsetsHere, tested, rules);
        kernels.offsets(b + tested, offsetsHere + tested, blackColumns - tested, rules);
        std::fill(offsetsHere + blackColumns, offsetsHere + rowLimit, noOffset);

        const std::size_t corrected = settings.target ? grayColumns : 0;
        if (corrected > 0) {
            kernels.gains(g, b, gainsHere, both, *settings.target);
            kernels.gains(g + both, noSignal.data(), gainsHere + both, corrected - both, *settings.target);
        }
        std::fill(gainsHere + corrected, gainsHere + rowLimit, unityGain);
    }
}

std::uint16_t toFixedPoint(float value, float scale) {
    const float scaled = value * scale; // in single precision, the rounding in double
    const double rounded = static_cast<double>(scaled) + 0.5;
    if (rounded >= 65536.0) {
        return 65535;
    }
    return rounded >= 0.0 ? static_cast<std::uint16_t>(rounded) : std::uint16_t{0};
}

} // namespace qelm::features::shading
