#include "model/image_path/dead_pixels.h"

#include "model/image_path/row_kernels.h"

#include <algorithm>

namespace qelm::virtual_board {
namespace {

bool isDead(const MarkedRow& row, std::size_t x) {
    return x < row.offsets.size() && row.offsets[x] == deadPixelOffset;
}

void replace(const std::array<MarkedRow, 3>& rows, std::size_t x, std::size_t width) {
    std::array<std::uint16_t, 8> around;
    std::size_t count = 0;
    for (const MarkedRow& row : rows) {
        if (row.pixels == nullptr) {
            continue;
        }
        for (std::size_t column = x > 0 ? x - 1 : 0; column < std::min(x + 2, width); ++column) {
            if (!isDead(row, column)) {
                around[count++] = row.pixels[column];
            }
        }
    }
    if (count > 0) {
        const auto begin = around.begin();
        const auto middle = begin + static_cast<std::ptrdiff_t>((count - 1) / 2);
        std::nth_element(begin, middle, begin + static_cast<std::ptrdiff_t>(count));
        rows[1].pixels[x] = *middle;
    }
}

} // namespace

void replaceDeadPixels(const std::array<MarkedRow, 3>& rows, std::size_t width, const RowKernels& kernels) {
    constexpr std::size_t block = 256; // dead pixels are few
    const std::size_t marked = std::min(rows[1].offsets.size(), width);
    for (std::size_t start = 0; start < marked; start += block) {
        const std::size_t end = std::min(start + block, marked);
        if (!kernels.anyDead(rows[1].offsets.data() + start, end - start)) {
            continue;
        }
        for (std::size_t x = start; x < end; ++x) {
            if (isDead(rows[1], x)) {
                replace(rows, x, width);
            }
        }
    }
}

} // namespace qelm::virtual_board
