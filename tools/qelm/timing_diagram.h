#pragma once

#include <cstdint>
#include <string>
#include <vector>

/** Timing diagrams as SVG documents. */
namespace qelm::tool {

struct SignalChange {
    std::uint64_t nanoseconds;
    std::uint32_t value; ///< from now on
};

struct Signal {
    std::string name;
    std::vector<SignalChange> changes; ///< in their order; the first tells the value at the start
    bool isLevel = true;               ///< high or low; else a number, drawn as steps
};

/** @param signals from top to bottom; the picture reaches from `start` to `end` */
std::string timingDiagram(const std::string& title, const std::vector<Signal>& signals, std::uint64_t start,
                          std::uint64_t end);

} // namespace qelm::tool
