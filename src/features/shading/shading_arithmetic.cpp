#include "features/shading/shading_arithmetic.h"

#include <algorithm>
#include <array>
#include <bit>
#include <bitset>

#ifdef __SSE2__
#include <immintrin.h>
#define QELM_HAS_SSE2 1
#else
#define QELM_HAS_SSE2 0
#endif

// Row kernels are compiled once for the baseline and once for a larger instruction set.
#define QELM_INLINE inline __attribute__((always_inline))

#ifdef __x86_64__
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
        const auto mark = static_cast<std::uint16_t>((tooDark | tooBright) == 0 ? 0 : defectiveOffset);
        offsets[x] = static_cast<std::uint16_t>(offsetOf(black[x], rules) | mark);
    }
}

/**
 * Single precision gives two estimates that enclose the exact gain. Where both lead to the same coefficient, that is
 * it; elsewhere, for less than one pixel in a hundred, the exact formula decides.
 */
namespace estimate {

// Relative errors in units of 2^-24: one each for the factor, the quotient, the product and the sum; the exact
// formula's own are smaller by far. The lower estimate stays 4 units below, and `widening` leads from there to 2 above.
constexpr double lowering = 1.0 - 0x1p-22;
constexpr float widening = 1.0F + 5 * 0x1p-23F;
constexpr auto limit = static_cast<float>(coefficientLimit);
constexpr std::size_t block = 16;
constexpr std::int32_t withoutSign = 0x7FFFFFFF; // makes negative numbers large ones, which saturate

#if QELM_HAS_SSE2
/** Estimates 16 gains. @return a bit for each that the exact formula must decide */
QELM_INLINE std::uint32_t gainsOfBlock(Samples gray, Samples black, Coefficients gains, float factor) {
    const auto load = [](Samples samples) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(samples)); };
    // Infinite for no difference at all, or not a number: the minimum of either is the limit.
    const auto whole = [](__m128 gain) {
        return _mm_cvttps_epi32(_mm_min_ps(_mm_add_ps(gain, _mm_set1_ps(0.5F)), _mm_set1_ps(limit)));
    };
    const auto quarter = [&](__m128i g, __m128i b, __m128i& certain) {
        const __m128 gain = _mm_div_ps(_mm_set1_ps(factor), _mm_cvtepi32_ps(_mm_sub_epi32(g, b)));
        const __m128i lower = whole(gain);
        certain = _mm_cmpeq_epi32(lower, whole(_mm_mul_ps(gain, _mm_set1_ps(widening))));
        // For want of an unsigned pack: the signed one, shifted.
        return _mm_sub_epi32(_mm_and_si128(lower, _mm_set1_epi32(withoutSign)), _mm_set1_epi32(32768));
    };
    __m128i certain[2];
    for (std::size_t half = 0; half < 2; ++half) {
        const __m128i g = load(gray + 8 * half);
        const __m128i b = load(black + 8 * half);
        const __m128i zero = _mm_setzero_si128();
        __m128i certainLow, certainHigh;
        const __m128i low = quarter(_mm_unpacklo_epi16(g, zero), _mm_unpacklo_epi16(b, zero), certainLow);
        const __m128i high = quarter(_mm_unpackhi_epi16(g, zero), _mm_unpackhi_epi16(b, zero), certainHigh);
        const __m128i packed = _mm_xor_si128(_mm_packs_epi32(low, high), _mm_set1_epi16(INT16_MIN));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(gains + 8 * half), packed);
        certain[half] = _mm_packs_epi32(certainLow, certainHigh);
    }
    return 0xFFFFU & ~static_cast<std::uint32_t>(_mm_movemask_epi8(_mm_packs_epi16(certain[0], certain[1])));
}
#endif

#if QELM_HAS_AVX2
#define QELM_AVX2 __attribute__((target("avx2"), always_inline)) inline
QELM_AVX2 __m256i whole(__m256 gain) {
    return _mm256_cvttps_epi32(_mm256_min_ps(_mm256_add_ps(gain, _mm256_set1_ps(0.5F)), _mm256_set1_ps(limit)));
}

QELM_AVX2 __m256i half(Samples gray, Samples black, float factor, __m256i& certain) {
    const __m256i g = _mm256_cvtepu16_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(gray)));
    const __m256i b = _mm256_cvtepu16_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(black)));
    const __m256 gain = _mm256_div_ps(_mm256_set1_ps(factor), _mm256_cvtepi32_ps(_mm256_sub_epi32(g, b)));
    const __m256i lower = whole(gain);
    certain = _mm256_cmpeq_epi32(lower, whole(_mm256_mul_ps(gain, _mm256_set1_ps(widening))));
    return _mm256_and_si256(lower, _mm256_set1_epi32(withoutSign));
}

QELM_AVX2 std::uint32_t gainsOfBlockAvx2(Samples gray, Samples black, Coefficients gains, float factor) {
    constexpr int inOrder = 0b11'01'10'00; // packing works within halves of a register
    __m256i certainLow, certainHigh;
    const __m256i low = half(gray, black, factor, certainLow);
    const __m256i high = half(gray + 8, black + 8, factor, certainHigh);
    const __m256i packed = _mm256_permute4x64_epi64(_mm256_packus_epi32(low, high), inOrder);
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(gains), packed);
    const auto certain = static_cast<std::uint32_t>(_mm256_movemask_ps(_mm256_castsi256_ps(certainLow))) |
                         static_cast<std::uint32_t>(_mm256_movemask_ps(_mm256_castsi256_ps(certainHigh))) << 8;
    return 0xFFFFU & ~certain;
}
#undef QELM_AVX2
#endif

} // namespace estimate

QELM_INLINE void decideDoubtful(std::uint32_t doubtful, Samples gray, Samples black, Coefficients gains,
                                double target) {
    for (; doubtful != 0; doubtful &= doubtful - 1) {
        const auto x = static_cast<std::size_t>(std::countr_zero(doubtful));
        gains[x] = gainOf(target, gray[x], black[x]);
    }
}

/** The row, of which `estimateBlock` does as much as comes in blocks. */
#define QELM_GAIN_ROW(estimateBlock)                                                                                   \
    const auto factor = static_cast<float>(target * fullScale * unityGain * estimate::lowering);                       \
    std::size_t x = 0;                                                                                                 \
    for (; x + estimate::block <= count; x += estimate::block) {                                                       \
        const std::uint32_t doubtful = estimateBlock(gray + x, black + x, gains + x, factor);                          \
        decideDoubtful(doubtful, gray + x, black + x, gains + x, target);                                              \
    }                                                                                                                  \
    for (; x < count; ++x) {                                                                                           \
        gains[x] = gainOf(target, gray[x], black[x]);                                                                  \
    }                                                                                                                  \
    static_assert(true) // takes the semicolon

QELM_INLINE std::uint16_t largestDifferenceOfRow(Samples gray, Samples black, std::size_t count) {
    std::uint16_t largest = 0;
    std::size_t x = 0;
#if QELM_HAS_SSE2
    __m128i largestOfLane = _mm_setzero_si128();
    for (; x + 8 <= count; x += 8) {
        const __m128i difference = _mm_subs_epu16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(gray + x)),
                                                  _mm_loadu_si128(reinterpret_cast<const __m128i*>(black + x)));
        // The unsigned maximum, which SSE2 lacks.
        largestOfLane = _mm_adds_epu16(_mm_subs_epu16(difference, largestOfLane), largestOfLane);
    }
    std::array<std::uint16_t, 8> lanes;
    _mm_storeu_si128(reinterpret_cast<__m128i*>(lanes.data()), largestOfLane);
    largest = *std::ranges::max_element(lanes);
#endif
    for (; x < count; ++x) {
        largest = std::max(largest, static_cast<std::uint16_t>(std::max(gray[x], black[x]) - black[x]));
    }
    return largest;
}

/**
 * The order of the additions is part of the result: each rounds to a multiple of the sum's unit, its last binary place.
 * As long as the sum stays between the same powers of two the unit does, too, and what is added is the signal's nearest
 * multiple: these add up in any order. That multiple follows from the difference of the samples d: with a unit of 2^-m,
 * d / 65535 is at least 2^-(m + 17) away from the middle between two multiples, because d * 2^(m + 1) is no odd
 * multiple of 65535. Up to m = 34, for sums from 2^18 on, that is more than the roundings of a signal, which are below
 * 2^-52.
 */
constexpr std::size_t sumBlock = 512;
constexpr double smallestOrderlessSum = 0x1p18;

/** Adds a block where that holds. @return whether it does */
QELM_INLINE bool addInAnyOrder(double& sum, Samples gray, Samples black) {
    constexpr std::uint64_t exponentBits = std::uint64_t{0x7FF} << 52U;
    constexpr double most = sumBlock; // signals are at most 1, either way
    const auto powerOfTwo = std::bit_cast<double>(std::bit_cast<std::uint64_t>(sum) & exponentBits);
    if (!(sum >= smallestOrderlessSum && sum - most >= powerOfTwo && sum + most < 2 * powerOfTwo)) {
        return false;
    }
    // Numbers with the sum's unit: neighbours differ by 1 as their bits do.
    const double rounder = 1.5 * powerOfTwo;
    std::uint64_t units = 0;
    for (std::size_t x = 0; x < sumBlock; ++x) {
        units += std::bit_cast<std::uint64_t>((gray[x] - black[x]) * (1.0 / fullScale) + rounder);
    }
    units -= sumBlock * std::bit_cast<std::uint64_t>(rounder);
    sum += static_cast<double>(static_cast<std::int64_t>(units)) * (powerOfTwo * 0x1p-52);
    return true;
}

QELM_INLINE double sumRow(double sum, Samples gray, Samples black, std::size_t count) {
    for (std::size_t start = 0; start < count;) {
        const std::size_t end = std::min(start + sumBlock, count);
        if (end - start == sumBlock && addInAnyOrder(sum, gray + start, black + start)) {
            start = end;
        }
        for (; start < end; ++start) {
            sum += signal(gray[start], black[start]);
        }
    }
    return sum;
}

/** Copies past the caches: planes are too large to be found there again. */
QELM_INLINE void stream(Samples row, Coefficients plane, std::size_t count) {
    std::size_t x = 0;
#if QELM_HAS_SSE2
    if (reinterpret_cast<std::uintptr_t>(plane) % sizeof(__m128i) == 0) {
        for (; x + 8 <= count; x += 8) {
            _mm_stream_si128(reinterpret_cast<__m128i*>(plane + x),
                             _mm_loadu_si128(reinterpret_cast<const __m128i*>(row + x)));
        }
    }
#endif
    std::copy(row + x, row + count, plane + x);
}

/** Makes what was streamed visible before anything that follows. */
QELM_INLINE void finishStreaming() {
#if QELM_HAS_SSE2
    _mm_sfence();
#endif
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
#define QELM_KERNELS(name, target_, estimateBlock)                                                                     \
    namespace name {                                                                                                   \
    target_ void widen(const std::uint8_t* samples, std::uint16_t* wide, std::size_t count) {                          \
        widenRow(samples, wide, count);                                                                                \
    }                                                                                                                  \
    target_ void offsets(const std::uint16_t* black, std::uint16_t* offsets, std::size_t count,                        \
                         const OffsetRules& rules) {                                                                   \
        offsetRow(black, offsets, count, rules);                                                                       \
    }                                                                                                                  \
    target_ void offsetsAndDefects(const std::uint16_t* black, const std::uint16_t* gray, std::uint16_t* offsets,      \
                                   std::size_t count, const OffsetRules& rules) {                                      \
        offsetAndDefectRow(black, gray, offsets, count, rules);                                                        \
    }                                                                                                                  \
    target_ void gains(const std::uint16_t* gray, const std::uint16_t* black, std::uint16_t* gains, std::size_t count, \
                       double target) {                                                                                \
        QELM_GAIN_ROW(estimateBlock);                                                                                  \
    }                                                                                                                  \
    target_ std::uint16_t largestDifference(const std::uint16_t* gray, const std::uint16_t* black,                     \
                                            std::size_t count) {                                                       \
        return largestDifferenceOfRow(gray, black, count);                                                             \
    }                                                                                                                  \
    target_ double sum(double start, const std::uint16_t* gray, const std::uint16_t* black, std::size_t count) {       \
        return sumRow(start, gray, black, count);                                                                      \
    }                                                                                                                  \
    constexpr Kernels kernels{widen, offsets, offsetsAndDefects, gains, largestDifference, sum};                       \
    }

#if QELM_HAS_SSE2
QELM_KERNELS(baseline, , estimate::gainsOfBlock)
#else
// Nothing is estimated: every gain is doubtful.
QELM_KERNELS(baseline, , [](auto...) { return 0xFFFFU; })
#endif
#if QELM_HAS_AVX2
QELM_KERNELS(avx2, __attribute__((target("avx2"))), estimate::gainsOfBlockAvx2)
#endif
#undef QELM_KERNELS
#undef QELM_GAIN_ROW

const Kernels& kernelsOf(InstructionSet instructions) {
#if QELM_HAS_AVX2
    if (instructions == InstructionSet::avx2) {
        return avx2::kernels;
    }
#else
    static_cast<void>(instructions);
#endif
    return baseline::kernels;
}

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
    return __builtin_cpu_supports("avx2") != 0 ? InstructionSet::avx2 : InstructionSet::baseline;
#else
    return InstructionSet::baseline;
#endif
}

double largestSignal(const ReferenceImage& gray, const ReferenceImage& black, InstructionSet instructions) {
    // A larger difference of samples is a larger signal. Equal ones differ by roundings, so each grey sample with the
    // largest difference is noted, and the signals decide in the end.
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
    alignas(64) std::array<std::uint16_t, rowLimit> offsetsHere;
    alignas(64) std::array<std::uint16_t, rowLimit> gainsHere;
    for (std::size_t y = 0; y < rowLimit; ++y) {
        const std::size_t grayColumns = grayRows.columns(y, 0);
        const std::size_t blackColumns = blackRows.columns(y, 0);
        const std::size_t both = std::min(grayColumns, blackColumns);
        const std::uint16_t* const g = grayColumns > 0 ? grayRows.piece(y, 0, grayColumns) : nullptr;
        const std::uint16_t* const b = blackColumns > 0 ? blackRows.piece(y, 0, blackColumns) : nullptr;

        const std::size_t tested = settings.defectThreshold ? both : 0;
        kernels.offsetsAndDefects(b, g, offsetsHere.data(), tested, rules);
        kernels.offsets(b + tested, offsetsHere.data() + tested, blackColumns - tested, rules);
        std::fill(offsetsHere.begin() + static_cast<std::ptrdiff_t>(blackColumns), offsetsHere.end(), noOffset);
        stream(offsetsHere.data(), offsets.data() + y * rowLimit, rowLimit);

        const std::size_t corrected = settings.target ? grayColumns : 0;
        if (corrected > 0) {
            kernels.gains(g, b, gainsHere.data(), both, *settings.target);
            kernels.gains(g + both, noSignal.data(), gainsHere.data() + both, corrected - both, *settings.target);
        }
        std::fill(gainsHere.begin() + static_cast<std::ptrdiff_t>(corrected), gainsHere.end(), unityGain);
        stream(gainsHere.data(), gains.data() + y * rowLimit, rowLimit);
    }
    finishStreaming();
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
