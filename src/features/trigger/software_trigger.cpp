#include "features/trigger/software_trigger.h"

#include "platform/precise_delay.h"

namespace qelm::features {
namespace {

namespace rows = parameters::rows;
using parameters::require;
using enum parameters::DesignParameter;

// Shorter than what the delay resolves: the pulses follow each other back to back, and users count on it.
constexpr platform::Duration pulseDistance{.seconds = 0, .nanoseconds = 160};

} // namespace

SoftwareTrigger::SoftwareTrigger(parameters::Dispatch& dispatch, parameters::DesignAccess& design,
                                 const TriggerState& state, const TriggerQueue& queue)
    : send_(dispatch, rows::FG_SENDSOFTWARETRIGGER,
            {.check =
                 [&state, &queue](std::uint32_t pulses) {
                     require(pulses <= queue.burstLimit(), FG_ERROR_OUT_OF_RANGE);
                     require(state.mode().value() == ATM_SOFTWARE, FG_ERROR_TRIGGER_MODE);
                     require(state.state().value() == TS_ACTIVE, FG_ERROR_TRIGGER_STATE);
                     require(queue.isOn() || !queue.isBusy(), FG_ERROR_SOFTWARE_TRIGGER_BUSY);
                 },
             .apply =
                 [&design](std::uint32_t pulses, auto) {
                     for (std::uint32_t i = 0; i < pulses; ++i) {
                         design.pulse(TriggerMode_SoftwareTrigger_Mode);
                         platform::waitPrecise(pulseDistance);
                     }
                 },
             .read = parameters::reads(design, TriggerMode_SoftwareTrigger_Mode)}) {}

} // namespace qelm::features
