#pragma once

#include "model/camera/camera_link.h"

#include <cstdint>

namespace qelm::virtual_board {

/**
 * The registers of the design's camera simulator, as they were written. It sends four taps; a unit of width is two
 * clocks of the link, which are four pixels of an image of two taps side by side.
 */
struct SimulatorRegisters {
    std::uint32_t width = 0;     /**< AAGenWidth, in units */
    std::uint32_t lineWidth = 0; /**< AAGenLineWidth: with the gap after a line, in units */
    std::uint32_t height = 0;    /**< AAGenHeight: lines of the image less one; each tap has half of them */
    std::uint32_t active = 0;    /**< AAGenActive, AAGenPassive: out of so many clocks of 125 MHz, each less one, the */
    std::uint32_t passive = 0;   /**< simulator works in the active ones; counts beyond 65536 count as that */
    std::uint32_t mask = 0;      /**< AAGenMask: bit 0 lets tap 1 show the pattern; without it the tap is black */
    std::uint32_t roll = 0;      /**< AAGenRoll: pixels that the pattern moves with each frame */

    /** The time from frame to frame, in nanoseconds; 0 when the registers make no frames. */
    std::uint64_t framePeriod() const;
};

/**
 * The simulator's image, 12 bits: in each tap a slope that rises with every clock and every line, starts again after
 * 256 of them, and is a quarter of it ahead of that of the tap before.
 */
class SimulatorFrame : public LinkFrame {
  public:
    static constexpr std::uint32_t largestSide = 8192; /**< of the image; what the registers have beyond is not sent */

    /** @param number  of the frame since the start of the simulator, from 0 */
    SimulatorFrame(const SimulatorRegisters& registers, std::uint64_t number);

    std::uint32_t lines() const override { return lines_; }
    std::uint32_t clocks() const override { return clocks_; }
    void line(std::uint32_t index, std::span<LinkWord> words) const override;

  private:
    std::uint32_t lines_, clocks_;
    std::uint32_t mask_;
    std::uint32_t start_; // where the slope is at the first pixel
};

} // namespace qelm::virtual_board
