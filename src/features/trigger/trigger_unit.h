#pragma once

#include "description/information.h"
#include "features/trigger/legacy_trigger.h"
#include "features/trigger/software_trigger.h"
#include "features/trigger/trigger_crossbar.h"
#include "features/trigger/trigger_input.h"
#include "features/trigger/trigger_queue.h"
#include "features/trigger/trigger_sets.h"
#include "features/trigger/trigger_state.h"
#include "features/trigger/trigger_statistics.h"
#include "features/trigger/trigger_timing.h"
#include "parameters/design_access.h"
#include "parameters/dispatch.h"

namespace qelm::features {

/**
 * The area trigger of the design's one camera:
 *
 *     input ─┬─► queue ─► sequencer ─► generator ─► pulse form generators ─► crossbar ─► lines and outputs
 *     software trigger ┘                 (rate)       (downscale, delay, width)    ▲
 *     bypassed input ──────────────────────────────────────────────────────────────┘
 */
class TriggerUnit {
  public:
    TriggerUnit(parameters::Dispatch& dispatch, parameters::DesignAccess& design,
                description::Information& information);

    /** Brings a freshly bound design to rest. */
    void prepare();

    /** While the result lives, current parameters are accepted although the legacy set is in force. */
    [[nodiscard]] TriggerSets::Applying acceptBothSets() { return TriggerSets::Applying(sets_); }

  private:
    TriggerSets sets_;
    TriggerInput input_;
    TriggerTiming timing_;
    TriggerCrossbar crossbar_;
    TriggerState state_;
    TriggerQueue queue_;
    SoftwareTrigger softwareTrigger_;
    TriggerStatistics statistics_;
    LegacyTrigger legacy_;
};

} // namespace qelm::features
