#pragma once

#include "features/trigger/trigger_sets.h"
#include "features/trigger/trigger_state.h"
#include "parameters/design_access.h"
#include "parameters/dispatch.h"
#include "parameters/parameter_kinds.h"

#include <cstdint>

namespace qelm::features {

/** What the unit counts and monitors: input pulses and their frequency, output pulses, exceeded periods, lost frames.
 */
class TriggerStatistics {
  public:
    using Signed = parameters::Cached<std::int32_t>;

    TriggerStatistics(parameters::Dispatch& dispatch, parameters::DesignAccess& design, const TriggerSets& sets,
                      const TriggerState& state);

  private:
    using Count = parameters::ReadOnly<std::uint32_t>;
    using Frequency = parameters::ReadOnly<double>;

    Count inputPulses_;
    Signed clearInputPulses_;
    Frequency frequency_, lowestFrequency_, highestFrequency_;
    parameters::Cached<std::uint32_t> clearFrequencies_;
    Signed outputSource_;
    Count outputPulses_;
    Signed clearOutputPulses_;
    Signed outputEventSource_;
    Count exceededPeriod_;
    Signed clearExceededPeriod_;
    Count missingFrame_;
    Signed clearMissingFrame_;
};

} // namespace qelm::features
