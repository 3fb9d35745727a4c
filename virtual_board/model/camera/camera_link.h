#pragma once

#include <array>
#include <cstdint>
#include <span>

namespace qelm::virtual_board {

/** One clock of a Camera Link Medium camera: ports A to F of eight bits each, A in the lowest byte. */
using LinkWord = std::uint64_t;

/** Four pixels that travel in one clock, one per tap, right-aligned in the bits that the format has. */
using TapPixels = std::array<std::uint16_t, 4>;

/** Bits of a pixel on the link; the values are those of the design's Camera_Format. */
enum class LinkFormat : std::uint32_t { bits8 = 0, bits10 = 1, bits12 = 2 };

constexpr unsigned bitsOf(LinkFormat format) {
    return 8 + 2 * static_cast<unsigned>(format);
}

/**
 * Puts four pixels on the ports as the Camera Link standard assigns them. 8 bits: taps 1 to 4 on ports A to D. 10 and
 * 12 bits: tap 1 on A and the low half of B, tap 2 on C and the high half of B, tap 3 on E and the low half of F, tap 4
 * on D and the high half of F.
 */
constexpr LinkWord onPorts(const TapPixels& pixels, LinkFormat format) {
    const auto port = [](unsigned value, unsigned position) { return LinkWord{value & 0xFFU} << (8 * position); };
    if (format == LinkFormat::bits8) {
        return port(pixels[0], 0) | port(pixels[1], 1) | port(pixels[2], 2) | port(pixels[3], 3);
    }
    const auto halves = [](unsigned low, unsigned high) { return (low >> 8 & 0xFU) | (high >> 8 & 0xFU) << 4; };
    return port(pixels[0], 0) | port(halves(pixels[0], pixels[1]), 1) | port(pixels[1], 2) | port(pixels[3], 3) |
           port(pixels[2], 4) | port(halves(pixels[2], pixels[3]), 5);
}

/** What a receiver that is set to `format` takes from the ports; the reverse of onPorts when both agree. */
constexpr TapPixels fromPorts(LinkWord word, LinkFormat format) {
    const auto port = [word](unsigned position) { return static_cast<unsigned>(word >> (8 * position) & 0xFFU); };
    const auto pixel = [format](unsigned low, unsigned high) {
        return static_cast<std::uint16_t>((low | high << 8) & ((1U << bitsOf(format)) - 1));
    };
    if (format == LinkFormat::bits8) {
        return {pixel(port(0), 0), pixel(port(1), 0), pixel(port(2), 0), pixel(port(3), 0)};
    }
    return {pixel(port(0), port(1) & 0xFU), pixel(port(2), port(1) >> 4), pixel(port(4), port(5) & 0xFU),
            pixel(port(3), port(5) >> 4)};
}

/** A frame as it travels: lines one after the other, each of so many clocks. Sources are the camera and the simulator.
 */
class LinkFrame {
  public:
    virtual ~LinkFrame() = default;
    virtual std::uint32_t lines() const = 0;  /**< lines of every tap */
    virtual std::uint32_t clocks() const = 0; /**< pixels of every tap in a line */
    /** @param words  room for one line */
    virtual void line(std::uint32_t index, std::span<LinkWord> words) const = 0;
};

} // namespace qelm::virtual_board
