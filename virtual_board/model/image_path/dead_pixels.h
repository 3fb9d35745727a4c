#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace qelm::virtual_board {

struct RowKernels;

/** A row of pixels with the offset coefficients that mark which of them are dead; missing ones mark none. */
struct MarkedRow {
    std::uint16_t* pixels = nullptr; ///< null: there is no such row
    std::span<const std::uint16_t> offsets{};
};

/**
 * Gives each dead pixel of the middle row the median of the pixels around it that are not dead (the lower of the two
 * middle ones when they are even in number), or leaves it when there are none. Dead pixels are never looked at, so a
 * row may be done in place before or after its neighbours.
 */
void replaceDeadPixels(const std::array<MarkedRow, 3>& rows, std::size_t width, const RowKernels& kernels);

} // namespace qelm::virtual_board
