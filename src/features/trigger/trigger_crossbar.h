#pragma once

#include "features/trigger/trigger_sets.h"
#include "parameters/design_access.h"
#include "parameters/dispatch.h"
#include "parameters/parameter_kinds.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace qelm::features {

/** Routes the formed pulses, the bypassed input or a constant level to each camera-control line and trigger output. */
class TriggerCrossbar {
  public:
    static constexpr std::size_t cameraControlCount = 4;
    static constexpr std::size_t outputCount = 8;
    using Selection = parameters::Remembered<std::uint32_t>;

    TriggerCrossbar(parameters::DesignAccess& design, const TriggerSets& sets);

    void enroll(parameters::Dispatch& dispatch);

    Selection& cameraControl(std::size_t line) { return cameraControl_[line]; }
    Selection& output(std::size_t line) { return outputs_[line]; }

    /** Cuts all lines off their source. Polarities stay, so that a line whose selection inverts rests high. */
    void off();
    /** Applies the selections of all lines again. */
    void on();

  private:
    Selection selection(const TriggerSets& sets, std::int32_t id, std::uint32_t initial,
                        parameters::DesignParameter select, parameters::DesignParameter polarity);
    Selection cameraControlSelection(const TriggerSets& sets, std::size_t line, std::uint32_t initial);
    Selection outputSelection(const TriggerSets& sets, std::size_t line, std::uint32_t initial);
    void write(parameters::DesignParameter select, parameters::DesignParameter polarity, std::uint32_t value);

    parameters::DesignAccess& design_;
    std::array<Selection, cameraControlCount> cameraControl_;
    std::array<Selection, outputCount> outputs_;
};

} // namespace qelm::features
