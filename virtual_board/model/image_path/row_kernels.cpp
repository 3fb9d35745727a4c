#include "model/image_path/row_kernels.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

#define QELM_INLINE inline __attribute__((always_inline))

#ifdef __x86_64__
#define QELM_HAS_AVX2 1
#else
#define QELM_HAS_AVX2 0
#endif

namespace qelm::virtual_board {
namespace {

using Row = const std::uint16_t* __restrict;
using Target = std::uint16_t* __restrict;

// Simple loops, which the compiler turns into vector code for the instruction set of the function around them. Choices
// are between values: std::min and std::max choose between references, which keeps loads from being vectors.

template <typename Number>
QELM_INLINE Number lower(Number a, Number b) {
    return a < b ? a : b;
}

template <typename Number>
QELM_INLINE Number upper(Number a, Number b) {
    return a < b ? b : a;
}

QELM_INLINE void correctRow(Row pixels, Row offsets, Row gains, Target corrected, std::size_t count) {
    for (std::size_t x = 0; x < count; ++x) {
        const auto pixel = static_cast<std::uint16_t>(pixels[x] << 4);
        const auto offset = static_cast<std::uint16_t>(offsets[x] == deadPixelOffset ? 0 : offsets[x]);
        const auto signal = static_cast<std::uint16_t>(pixel > offset ? pixel - offset : 0);
        const auto amplified = static_cast<std::uint16_t>(std::uint32_t{signal} * std::uint32_t{gains[x]} >> 16);
        corrected[x] = lower(amplified, brightest);
    }
}

QELM_INLINE bool anyDeadInRow(Row offsets, std::size_t count) {
    std::uint16_t any = 0;
    for (std::size_t x = 0; x < count; ++x) {
        any = static_cast<std::uint16_t>(any | (offsets[x] == deadPixelOffset ? 1 : 0));
    }
    return any != 0;
}

// 12 bits fit signed numbers, whose minimum and maximum every instruction set has.
using Level = std::int16_t;

QELM_INLINE Level median3(Level a, Level b, Level c) {
    return upper(lower(a, b), lower(upper(a, b), c));
}

/**
 * Each column is sorted once, for the three medians it takes part in. The median of nine is that of the largest of the
 * lowest, the median of the middle and the smallest of the highest ones.
 */
QELM_INLINE void medianRow(Row above, Row here, Row below, Target medians, std::size_t count) {
    constexpr std::size_t block = 512; // what stays in the first-level cache
    constexpr std::size_t vector = 16;
    struct {
        alignas(32) std::array<Level, block + vector> low, middle, high;
    } sorted;
    for (std::size_t start = 0; start < count; start += block) {
        const std::size_t width = std::min(block, count - start);
        const std::size_t columns = (width + 2 + vector - 1) / vector * vector; // the surplus lies in the padding
        for (std::size_t x = 0; x < columns; ++x) {
            const auto a = static_cast<Level>(above[start + x - 1]);
            const auto b = static_cast<Level>(here[start + x - 1]);
            const auto c = static_cast<Level>(below[start + x - 1]);
            const Level low = lower(b, c);
            const Level high = upper(b, c);
            const Level rest = upper(low, a);
            sorted.low[x] = lower(low, a);
            sorted.middle[x] = lower(rest, high);
            sorted.high[x] = upper(rest, high);
        }
        for (std::size_t x = 0; x < width; ++x) {
            const Level low = upper(upper(sorted.low[x], sorted.low[x + 1]), sorted.low[x + 2]);
            const Level middle = median3(sorted.middle[x], sorted.middle[x + 1], sorted.middle[x + 2]);
            const Level high = lower(lower(sorted.high[x], sorted.high[x + 1]), sorted.high[x + 2]);
            medians[start + x] = static_cast<std::uint16_t>(median3(low, middle, high));
        }
    }
}

/** Pixels are gathered to words: stores are what a loop over single pixels waits for. */
template <typename Pixel>
QELM_INLINE void lookUpRow(Row row, std::size_t count, const OutputTable<Pixel>& table, std::byte* __restrict out) {
    static_assert(std::endian::native == std::endian::little);
    constexpr std::size_t perWord = sizeof(std::uint64_t) / sizeof(Pixel);
    std::size_t x = 0;
    for (; x + perWord <= count; x += perWord) {
        std::uint64_t word = 0;
#pragma GCC unroll 8
        for (std::size_t i = 0; i < perWord; ++i) {
            word |= std::uint64_t{table[row[x + i]]} << (8 * sizeof(Pixel) * i);
        }
        std::memcpy(out + x * sizeof(Pixel), &word, sizeof(word));
    }
    for (; x < count; ++x) {
        std::memcpy(out + x * sizeof(Pixel), &table[row[x]], sizeof(Pixel));
    }
}

#define QELM_KERNELS(name, attributes)                                                                                 \
    namespace name {                                                                                                   \
    attributes void correct(const std::uint16_t* pixels, const std::uint16_t* offsets, const std::uint16_t* gains,     \
                            std::uint16_t* corrected, std::size_t count) {                                             \
        correctRow(pixels, offsets, gains, corrected, count);                                                          \
    }                                                                                                                  \
    attributes bool anyDead(const std::uint16_t* offsets, std::size_t count) {                                         \
        return anyDeadInRow(offsets, count);                                                                           \
    }                                                                                                                  \
    attributes void median(const std::uint16_t* above, const std::uint16_t* here, const std::uint16_t* below,          \
                           std::uint16_t* medians, std::size_t count) {                                                \
        medianRow(above, here, below, medians, count);                                                                 \
    }                                                                                                                  \
    constexpr RowKernels kernels{correct, anyDead, median};                                                            \
    }

QELM_KERNELS(baseline, )
#if QELM_HAS_AVX2
QELM_KERNELS(avx2, __attribute__((target("avx2"))))
#endif
#undef QELM_KERNELS

} // namespace

InstructionSet bestInstructionSet() {
#if QELM_HAS_AVX2
    return __builtin_cpu_supports("avx2") != 0 ? InstructionSet::avx2 : InstructionSet::baseline;
#else
    return InstructionSet::baseline;
#endif
}

const RowKernels& rowKernels(InstructionSet instructions) {
#if QELM_HAS_AVX2
    if (instructions == InstructionSet::avx2) {
        return avx2::kernels;
    }
#else
    static_cast<void>(instructions);
#endif
    return baseline::kernels;
}

void lookUp(const std::uint16_t* row, std::size_t count, const OutputTable<std::uint8_t>& table, std::byte* out) {
    lookUpRow(row, count, table, out);
}

void lookUp(const std::uint16_t* row, std::size_t count, const OutputTable<std::uint16_t>& table, std::byte* out) {
    lookUpRow(row, count, table, out);
}

} // namespace qelm::virtual_board
