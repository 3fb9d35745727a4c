#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

/** What the image path does to whole rows of pixels, compiled for each instruction set from the same source. */
namespace qelm::virtual_board {

enum class InstructionSet { baseline, avx2 };
/** The largest one that the processor offers. */
InstructionSet bestInstructionSet();

inline constexpr std::uint16_t brightest = 4095;        ///< of 12 bits
inline constexpr std::uint16_t deadPixelOffset = 65535; ///< the offset coefficient that marks a dead pixel

/** Elements that must exist before and after a row of the image path, so that kernels need no loops for its ends. */
inline constexpr std::size_t rowPadding = 16;

struct RowKernels {
    /**
     * 12 bits to 12 bits: less an offset in 1/16 of a level, times a gain in 1/4096, limited at both ends. The offset
     * of a dead pixel counts as 0.
     */
    void (*correct)(const std::uint16_t* pixels, const std::uint16_t* offsets, const std::uint16_t* gains,
                    std::uint16_t* corrected, std::size_t count);
    bool (*anyDead)(const std::uint16_t* offsets, std::size_t count);
    /** Medians of 3 x 3 pixels of 12 bits. Rows have their padding; the first element on either side counts. */
    void (*median)(const std::uint16_t* above, const std::uint16_t* here, const std::uint16_t* below,
                   std::uint16_t* medians, std::size_t count);
};

const RowKernels& rowKernels(InstructionSet instructions);

/** What becomes of each 12-bit pixel at the output. */
template <typename Pixel>
using OutputTable = std::array<Pixel, brightest + 1>;

/** Puts out a row of 12-bit pixels; vectors are of no use here. */
void lookUp(const std::uint16_t* row, std::size_t count, const OutputTable<std::uint8_t>& table, std::byte* out);
void lookUp(const std::uint16_t* row, std::size_t count, const OutputTable<std::uint16_t>& table, std::byte* out);

} // namespace qelm::virtual_board
