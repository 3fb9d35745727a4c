#pragma once

#include "model/camera/camera_link.h"
#include "model/image_path/sorted_frame.h"

#include <array>
#include <cstdint>

namespace qelm::virtual_board {

/**
 * The design's words from which its sorting stage puts the half lines of four taps together to an image. Every link
 * line brings four of them: those of the output taps 0 and 1 are left and right half of one row, 2 and 3 of another.
 * For a camera of W x H pixels the words agree when they are as given here.
 *
 * The frame has imageWidth / 16 * 16 columns, in two halves of imageWidth groups of 8 pixels, and imageHeight half
 * lines, numbered from the top, left before right. A tap counts the half lines of its half image; where one goes:
 * - Half lines from `append` on are dropped. The count starts again after `divisor` of them.
 * - Top half (topDown 1): the count is the number of the half line.
 * - Bottom half (0): the first row is `lastLine` rows below the one at which the half image starts, the first whole one
 *   at or after half line `split`; the others are above it.
 * - A half line goes as a whole, black where the tap has no pixels; beyond the frame it is dropped. The later one wins.
 */
struct TapSorting {
    using OfTaps = std::array<std::uint32_t, 4>; ///< of output taps 0 to 3

    LinkFormat format = LinkFormat::bits8;
    OfTaps topDown{};                ///< 1: the tap fills the top half downwards, 0: the bottom half upwards
    OfTaps mirror{};                 ///< reverses the groups of 8 pixels of a half line, group 0 becoming rightLeftLast
    OfTaps mirrorGroup{};            ///< reverses the pixels within a group
    OfTaps select{};                 ///< the camera's tap; two bits count
    std::uint32_t imageWidth = 0;    ///< W / 16, groups in a half line
    std::uint32_t imageHeight = 0;   ///< 2 H, half lines
    std::uint32_t lineLength = 0;    ///< W / 2, pixels taken of a tap's line; surplus is dropped
    std::uint32_t rightLeftLast = 0; ///< W / 16 - 1
    std::uint32_t divisor = 0;       ///< H; 0: never starts again
    std::uint32_t split = 0;         ///< H
    std::uint32_t append = 0;        ///< H
    std::uint32_t lastLine = 0;      ///< H / 2 - 1
};

/**
 * Sorts a frame; pixels of 8 and 10 bits become the upper ones of 12. Any words are safe: what does not agree with the
 * camera scrambles or cuts the image, and size is limited to frameLimit either way. Pixels that no tap brings are
 * black, so with an odd height is the middle row.
 */
void sortTaps(const LinkFrame& link, const TapSorting& sorting, SortedFrame& frame);

} // namespace qelm::virtual_board
