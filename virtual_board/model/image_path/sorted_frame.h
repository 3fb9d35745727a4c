#pragma once

#include <cstdint>
#include <vector>

namespace qelm::virtual_board {

/** A camera frame as a plain image: rows of 12-bit pixels without padding. Kept by whoever receives frames, so that
 *  its memory is reused from frame to frame. */
struct SortedFrame {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::vector<std::uint16_t> pixels;
};

/** What the design's buffers hold at most; larger settings are limited to it. */
inline constexpr std::uint32_t frameLimit = 8192;

} // namespace qelm::virtual_board
