#pragma once

#include "model/camera/simulator.h"

#include <cstdint>

namespace qelm::virtual_board {

/** Where the board keeps the registers of the camera simulator; null for those that the design lacks. */
struct SimulatorControl {
    const std::uint64_t *enable = nullptr, *start = nullptr, *width = nullptr, *lineWidth = nullptr, *height = nullptr,
                        *active = nullptr, *passive = nullptr, *mask = nullptr, *roll = nullptr;

    /** Whether the design takes the simulator's frames instead of the camera's. */
    bool isEnabled() const { return valueOf(enable) != 0; }
    bool runs() const { return isEnabled() && valueOf(start) != 0 && registers().framePeriod() != 0; }
    SimulatorRegisters registers() const {
        return {valueOf(width),   valueOf(lineWidth), valueOf(height), valueOf(active),
                valueOf(passive), valueOf(mask),      valueOf(roll)};
    }

  private:
    static std::uint32_t valueOf(const std::uint64_t* value) {
        return value == nullptr ? 0 : static_cast<std::uint32_t>(*value); // registers of 32 bits
    }
};

} // namespace qelm::virtual_board
