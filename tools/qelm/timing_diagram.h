#pragma once

#include <cstdint>
#include <string>
#include <vector>

/** Timing diagrams as SVG documents. Times are nanoseconds. */
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

/** Moments that stand out: crosses in a row of their own, and lines through all the others. */
struct Marks {
    std::string name;
    std::vector<std::uint64_t> nanoseconds; ///< in their order
};

struct TimingDiagram {
    std::string title;
    std::vector<Signal> signals; ///< from top to bottom
    std::vector<Marks> marks;    ///< below them; those without a moment in the picture are left out
    std::uint64_t origin = 0;    ///< what the axis calls 0
    std::uint64_t from = 0;      ///< where the picture begins
    std::uint64_t to = 0;        ///< and ends, later
};

/** The SVG document. */
std::string draw(const TimingDiagram& diagram);

} // namespace qelm::tool
