#include "model/camera/simulator.h"

#include <algorithm>

namespace qelm::virtual_board {
namespace {

constexpr std::uint32_t clocksPerUnit = 2;
constexpr std::uint32_t unitsPerLine = SimulatorFrame::largestSide / 2 / clocksPerUnit;

std::uint32_t imageHeight(const SimulatorRegisters& registers) {
    // Of an image without lines the register holds -1, which comes out as 0 here.
    return std::min(registers.height + 1, SimulatorFrame::largestSide);
}

/** A count of the clock divider from its register, which again holds one less. */
std::uint64_t count(std::uint32_t value) {
    return std::min(value + 1, 65536U);
}

} // namespace

std::uint64_t SimulatorRegisters::framePeriod() const {
    constexpr std::uint64_t clock = 8; // ns at 125 MHz
    constexpr std::uint32_t longestLine = 65536;
    const std::uint64_t units = std::min(std::max(width, lineWidth), longestLine);
    const std::uint64_t lines = imageHeight(*this) / 2;
    const std::uint64_t activeCount = count(active);
    if (width == 0 || activeCount == 0) {
        return 0;
    }
    return (units * clocksPerUnit * lines * clock * (activeCount + count(passive)) + activeCount - 1) / activeCount;
}

SimulatorFrame::SimulatorFrame(const SimulatorRegisters& registers, std::uint64_t number)
    : lines_(imageHeight(registers) / 2)
    , clocks_(std::min(registers.width, unitsPerLine) * clocksPerUnit)
    , mask_(registers.mask)
    , start_(static_cast<std::uint32_t>(number * registers.roll)) {
    if (lines_ == 0 || clocks_ == 0) {
        lines_ = clocks_ = 0;
    }
}

void SimulatorFrame::line(std::uint32_t index, std::span<LinkWord> words) const {
    constexpr std::uint32_t step = 16, tapShift = 1024; // 4096 counts are 256 steps and four shifts
    std::uint32_t position = start_ + index;
    for (LinkWord& word : words.first(clocks_)) {
        TapPixels pixels{};
        for (std::uint32_t tap = 0; tap < pixels.size(); ++tap) {
            const bool shown = (mask_ >> tap & 1) != 0;
            pixels[tap] = static_cast<std::uint16_t>(shown ? (position * step + tap * tapShift) & 0xFFF : 0);
        }
        word = onPorts(pixels, LinkFormat::bits12);
        ++position;
    }
}

} // namespace qelm::virtual_board
