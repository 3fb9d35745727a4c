#pragma once

#include "description/information.h"
#include "parameters/design_access.h"
#include "parameters/dispatch.h"
#include "parameters/parameter_kinds.h"

#include <cstdint>

namespace qelm::features {

/**
 * The test pattern generator that replaces the camera input. It is driven through raw registers. Out of every
 * `accuracy` cycles of its 125 MHz base clock some are active and the rest passive, which makes its frequency.
 */
class CameraSimulator {
  public:
    CameraSimulator(parameters::Dispatch& dispatch, parameters::DesignAccess& design,
                    description::Information& information);

  private:
    using Unsigned = parameters::Cached<std::uint32_t>;
    using Tap = parameters::Cached<std::int32_t>;

    /** Cycles of the base clock, out of every `accuracy`. */
    struct Clock {
        std::uint32_t active;
        std::uint32_t passive;
    };
    /** Raises -6000 when accuracy and frequency (MHz) make no such clock. */
    static Clock divide(std::uint32_t accuracy, double frequency);

    Tap tap(parameters::Dispatch& dispatch, const parameters::RowOf<std::int32_t>& row, std::uint32_t bit);
    void writeWidths();
    void writeClock();

    parameters::DesignAccess& design_;
    description::Information& information_;
    Unsigned enable_, start_, width_, lineGap_, height_;
    parameters::Cached<double> frequency_;
    Unsigned accuracy_;
    Clock clock_; ///< of the frequency and accuracy last accepted
    Tap tap1_, tap2_, tap3_, tap4_;
    Unsigned roll_;
    parameters::ReadOnly<std::uint32_t> active_, passive_, lineWidth_;
};

} // namespace qelm::features
