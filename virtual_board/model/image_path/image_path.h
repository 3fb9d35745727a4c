#pragma once

#include "model/image_path/row_kernels.h"
#include "model/image_path/sorted_frame.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace qelm::virtual_board {

/** The region of interest within the sorted frame; what lies beyond the frame is black. */
struct ImageRegion {
    std::uint32_t x = 0;
    std::uint32_t y = 0;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
};

/**
 * One of the shading correction's buffers. Its region says which coefficients belong to the image's region, from the
 * upper left corner on; pixels beyond it, and all when no plane is there, have none.
 */
struct CoefficientBuffer {
    static constexpr std::size_t planeLimit = 8192; ///< rows and columns of a plane

    std::uint32_t xOffset = 0; ///< in units of four columns, as is xLength
    std::uint32_t xLength = 0;
    std::uint32_t yOffset = 0;
    std::uint32_t yLength = 0;
    const std::uint16_t* plane = nullptr; ///< rows of planeLimit coefficients, or null
};

enum class OutputFormat : std::uint32_t { bits16 = 0, bits8 = 1 };

/** The design's words for the image path. */
struct ImagePathSettings {
    ImageRegion region{};
    CoefficientBuffer offsets{};
    CoefficientBuffer gains{};
    bool enableOffset = false; ///< without it, and without a coefficient, the offset is 0
    bool enableGain = false;   ///< without it, and without a coefficient, the gain is the default
    std::uint32_t defaultGain = 4096;
    bool deadPixelReplacement = false; ///< goes by the marks in the offset buffer, whether offsets are enabled or not
    bool median = false;
    std::span<const std::uint32_t, 4096> lookupTable;
    OutputFormat format = OutputFormat::bits8;
    bool leftAligned = true; ///< of 16-bit output; 8 bits are the upper ones either way
};

/** Bytes of a picture: rows without padding, 16-bit pixels with the low byte first. */
std::size_t outputBytes(const ImagePathSettings& settings);

/**
 * From the sorted frame to the picture: region of interest, offset and gain, dead-pixel replacement, 3 x 3 median,
 * lookup table, output format. Dead pixels are replaced before the median, which would otherwise spread them where they
 * are dense; both filters see the region alone. One pass over the rows; keeps some rows of memory from frame to frame.
 */
class ImagePath {
  public:
    /** @param instructions  what the processor offers: the best, or less */
    explicit ImagePath(InstructionSet instructions = bestInstructionSet());

    /**
     * Any settings are safe; the region's size is limited to frameLimit.
     * @param picture  room for outputBytes(settings)
     * @throws std::length_error when it is smaller
     */
    void process(const SortedFrame& frame, const ImagePathSettings& settings, std::span<std::byte> picture);

  private:
    using Row = std::vector<std::uint16_t>;
    struct Pass;

    /** Completes rows of which only the first elements are given, or none. */
    class RowFiller {
      public:
        void start(std::size_t count, std::uint16_t others);
        /** Elements as they lie when all are given; else a copy, up to the next call, with the others behind them. */
        const std::uint16_t* completed(std::span<const std::uint16_t> given);

      private:
        Row row_;
        std::uint16_t others_ = 0;
        std::size_t used_ = 0; ///< elements that an earlier row left
    };

    const RowKernels& kernels_;
    RowFiller pixels_, offsets_, gains_;
    std::array<Row, 4> corrected_; ///< by row modulo 4, with padding
    Row medians_;
    OutputTable<std::uint8_t> table8_{};
    OutputTable<std::uint16_t> table16_{};
};

} // namespace qelm::virtual_board
