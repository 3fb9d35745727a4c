#pragma once

#include "features/trigger/trigger_queue.h"
#include "features/trigger/trigger_state.h"
#include "parameters/design_access.h"
#include "parameters/dispatch.h"
#include "parameters/parameter_kinds.h"

#include <cstdint>

namespace qelm::features {

/** Trigger pulses that the application sends; the value set is their number. */
class SoftwareTrigger {
  public:
    SoftwareTrigger(parameters::Dispatch& dispatch, parameters::DesignAccess& design, const TriggerState& state,
                    const TriggerQueue& queue);

  private:
    parameters::Cached<std::uint32_t> send_;
};

} // namespace qelm::features
