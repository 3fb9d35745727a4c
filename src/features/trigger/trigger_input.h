#pragma once

#include "description/information.h"
#include "features/trigger/trigger_sets.h"
#include "parameters/design_access.h"
#include "parameters/dispatch.h"
#include "parameters/parameter_kinds.h"

#include <cstdint>

namespace qelm::features {

/** The trigger's input stage: eight debounced pins, of which one triggers and one may bypass the unit. */
class TriggerInput {
  public:
    using Unsigned = parameters::Cached<std::uint32_t>;
    using Signed = parameters::Cached<std::int32_t>;

    TriggerInput(parameters::Dispatch& dispatch, parameters::DesignAccess& design,
                 description::Information& information, const TriggerSets& sets);

  private:
    Unsigned source_;
    Signed polarity_;
    Signed bypassSource_;
    parameters::Cached<double> debounce_;
    Unsigned downscale_; ///< of so many pulses one passes
    Unsigned phase_;     ///< the one that passes, from 0
    parameters::ReadOnly<std::uint32_t> levels_;
};

} // namespace qelm::features
