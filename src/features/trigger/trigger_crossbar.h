#pragma once

#include "features/trigger/trigger_sets.h"
#include "parameters/design_access.h"
#include "parameters/dispatch.h"
#include "parameters/parameter_kinds.h"

#include <cstddef>
#include <cstdint>
#include <deque>

namespace qelm::features {

/** Routes the formed pulses, the bypassed input or a constant level to each camera-control line and trigger output. */
class TriggerCrossbar {
  public:
    static constexpr std::size_t cameraControlCount = 4;
    static constexpr std::size_t outputCount = 8;
    using Selection = parameters::Cached<std::uint32_t>;

    TriggerCrossbar(parameters::Dispatch& dispatch, parameters::DesignAccess& design, const TriggerSets& sets);

    Selection& cameraControl(std::size_t line) { return cameraControl_[line]; }
    Selection& output(std::size_t line) { return outputs_[line]; }

    /** Cuts all lines off their source. Polarities stay, so that a line whose selection inverts rests high. */
    void off();
    /** Applies the selections of all lines again. */
    void on();

    /** A line of the crossbar: its parameter, and what routes it in the design. */
    struct Line {
        const parameters::RowOf<std::uint32_t>& row;
        parameters::DesignParameter select, polarity;
    };

  private:
    Selection::Rules rules(const Line& line, const TriggerSets& sets);
    void write(const Line& line, std::uint32_t value);

    parameters::DesignAccess& design_;
    std::deque<Selection> cameraControl_; // a deque keeps addresses
    std::deque<Selection> outputs_;
};

} // namespace qelm::features
