#include "features/trigger/trigger_queue.h"

#include "features/trigger/trigger_conversions.h"

namespace qelm::features {
namespace {

namespace rows = parameters::rows;
using enum parameters::DesignParameter;

constexpr std::uint32_t queueLength = 2040;
constexpr std::uint32_t noQueue = 1; // full with a single pulse
constexpr std::uint32_t fullBit = 2; // of the queue status

} // namespace

TriggerQueue::TriggerQueue(parameters::Dispatch& dispatch, parameters::DesignAccess& design,
                           description::Information& information, const TriggerSets& sets, TriggerTiming& timing,
                           const TriggerState& state)
    : design_(design)
    , information_(information)
    , timing_(timing)
    , state_(state)
    , multiplyPulses_(dispatch, rows::FG_TRIGGER_MULTIPLY_PULSES,
                      {.permit = sets.current(), .apply = parameters::calls(this, &TriggerQueue::writeMultiplyPulses)})
    , mode_(dispatch, rows::FG_TRIGGERQUEUE_MODE,
            {.permit = sets.current(),
             .apply = parameters::calls(this, &TriggerQueue::writeMode),
             .settled = parameters::calls(this, &TriggerQueue::describeLimits)})
    , onThreshold_(dispatch, rows::FG_TRIGGER_QUEUE_FILLLEVEL_EVENT_ON_THRESHOLD,
                   {.permit = sets.current(), .apply = parameters::writesTo(design, Hysteresis_OnLevel_Number)})
    , offThreshold_(dispatch, rows::FG_TRIGGER_QUEUE_FILLLEVEL_EVENT_OFF_THRESHOLD,
                    {.permit = sets.current(), .apply = parameters::writesTo(design, Hysteresis_OffLevel_Number)})
    , fillLevel_(dispatch, rows::FG_TRIGGERQUEUE_FILLLEVEL, [this] { return is(ATM_EXTERNAL) ? level() : 0; })
    , busy_(dispatch, rows::FG_SOFTWARETRIGGER_IS_BUSY,
            [this] { return std::uint32_t{isBusy() ? IS_BUSY : IS_NOT_BUSY}; })
    , softwareFillLevel_(dispatch, rows::FG_SOFTWARETRIGGER_QUEUE_FILLLEVEL,
                         [this] { return is(ATM_SOFTWARE) ? level() * multiplyPulses_.value() : 0; }) {
    mode_.store(FG_ON); // until start-up switches it off
}

std::uint32_t TriggerQueue::burstLimit() const {
    return isOn() ? queueLength : noQueue;
}

bool TriggerQueue::isBusy() const {
    if (!is(ATM_SOFTWARE)) {
        return false;
    }
    const bool periodOver = design_.read(Generators_Generator_MaximumReached_Status) != 0;
    const bool queueEmpty = design_.read(Generators_QueueValue_Status) == 0;
    return !(periodOver && queueEmpty);
}

// The selected pulse never exceeds the downscale in the design, not even between the two writes.
void TriggerQueue::writeMultiplyPulses(std::uint32_t pulses, std::uint32_t previous) {
    const bool grows = pulses > previous;
    design_.write(grows ? Generators_Sequence_Downscale : Generators_Sequence_SelectedPulse, pulses);
    design_.write(grows ? Generators_Sequence_SelectedPulse : Generators_Sequence_Downscale, pulses);
    design_.pulse(Generators_ClearDownscale_Mode);
}

void TriggerQueue::writeMode() {
    if (isOn()) {
        timing_.writeRate();
    } else {
        timing_.writeShortestPeriod();
    }
    design_.write(Generators_Queue_QueueFullValue_Number, burstLimit());
    design_.write(Generators_Queue_QueueEnabled_Select, static_cast<std::uint32_t>(mode_.value()));
}

void TriggerQueue::describeLimits() {
    information_.setMaximum(FG_SENDSOFTWARETRIGGER, burstLimit());
    if (is(ATM_GENERATOR)) {
        const parameters::Row& rate = rows::FG_TRIGGER_FRAMESPERSECOND;
        information_.setFloatRange(rate.id, rate.minimum, rate.maximum);
    }
}

std::uint32_t TriggerQueue::level() const {
    if (state_.state().value() == TS_ASYNC_STOP) {
        return 0;
    }
    if ((design_.read(Monitoring_ReadQueueStatus_Status) & fullBit) != 0) {
        return queueLength;
    }
    return design_.read(Generators_QueueValue_Status);
}

} // namespace qelm::features
