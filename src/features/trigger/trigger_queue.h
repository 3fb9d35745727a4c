#pragma once

#include "description/information.h"
#include "features/trigger/trigger_sets.h"
#include "features/trigger/trigger_state.h"
#include "features/trigger/trigger_timing.h"
#include "parameters/design_access.h"
#include "parameters/dispatch.h"
#include "parameters/parameter_kinds.h"

#include <cstdint>

namespace qelm::features {

/** Multiplies trigger pulses and queues them until the generator has time for them. */
class TriggerQueue {
  public:
    using Unsigned = parameters::Cached<std::uint32_t>;
    using Signed = parameters::Cached<std::int32_t>;

    TriggerQueue(parameters::Dispatch& dispatch, parameters::DesignAccess& design,
                 description::Information& information, const TriggerSets& sets, TriggerTiming& timing,
                 const TriggerState& state);

    Signed& mode() { return mode_; }

    bool isOn() const { return mode_.value() == FG_ON; }
    /** How many software trigger pulses one call may send. */
    std::uint32_t burstLimit() const;
    /** Whether software triggers still wait or are being worked off; false in the other modes. */
    bool isBusy() const;

  private:
    bool is(std::uint32_t mode) const { return state_.mode().value() == mode; }
    void writeMultiplyPulses(std::uint32_t pulses, std::uint32_t previous);
    void writeMode();
    void describeLimits();
    /** The queue's own level, in whatever mode. */
    std::uint32_t level() const;

    parameters::DesignAccess& design_;
    description::Information& information_;
    TriggerTiming& timing_;
    const TriggerState& state_;
    Unsigned multiplyPulses_;
    Signed mode_;
    Unsigned onThreshold_, offThreshold_; ///< levels at which the fill level events are raised
    parameters::ReadOnly<std::uint32_t> fillLevel_, busy_, softwareFillLevel_;
};

} // namespace qelm::features
