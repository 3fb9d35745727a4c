#include "features/trigger/trigger_statistics.h"

#include "features/trigger/trigger_conversions.h"

namespace qelm::features {
namespace {

namespace enumerations = parameters::enumerations;
using parameters::DesignAccess;
using parameters::DesignParameter;
using enum parameters::DesignParameter;

constexpr std::uint32_t exceededPeriodBit = 1; // of the queue status
constexpr std::uint32_t missingFrameBit = 4;

// What a command register takes to issue its pulse.
constexpr std::uint32_t modePulse = 2;
constexpr std::uint32_t valuePulse = 1;

template <typename T>
typename parameters::Remembered<T>::Rules clears(DesignAccess& design, const TriggerSets& sets, DesignParameter command,
                                                 std::uint32_t pulse = modePulse) {
    return {.check = sets.current(parameters::oneOf<T>(enumerations::Apply)),
            .apply = [&design, command, pulse](auto...) { design.write(command, pulse); }};
}

auto reads(DesignAccess& design, DesignParameter parameter) {
    return [&design, parameter] { return design.read(parameter); };
}

auto readsFrequency(DesignAccess& design, DesignParameter period) {
    return [&design, period] { return frequencyOfPeriod(design.read(period)); };
}

bool queueStatus(DesignAccess& design, std::uint32_t bit) {
    return (design.read(Monitoring_ReadQueueStatus_Status) & bit) != 0;
}

} // namespace

TriggerStatistics::TriggerStatistics(DesignAccess& design, const TriggerSets& sets, const TriggerState& state)
    : inputPulses_(FG_TRIGGERIN_STATS_PULSECOUNT, reads(design, InputStatistics_ReadPulses_Status))
    , clearInputPulses_(FG_TRIGGERIN_STATS_PULSECOUNT_CLEAR, FG_APPLY,
                        clears<std::int32_t>(design, sets, InputStatistics_ClearPulses_Mode))
    , frequency_(FG_TRIGGERIN_STATS_FREQUENCY, readsFrequency(design, InputStatistics_ReadPeriod_Status))
    , lowestFrequency_(FG_TRIGGERIN_STATS_MINFREQUENCY, readsFrequency(design, InputStatistics_ReadMin_Status))
    , highestFrequency_(FG_TRIGGERIN_STATS_MAXFREQUENCY, readsFrequency(design, InputStatistics_ReadMax_Status))
    , clearFrequencies_(FG_TRIGGERIN_STATS_MINMAXFREQUENCY_CLEAR, FG_APPLY,
                        clears<std::uint32_t>(design, sets, InputStatistics_ClearMinMax_Value, valuePulse))
    , outputSource_(FG_TRIGGEROUT_STATS_SOURCE, PULSEGEN0,
                    {.check = sets.current(parameters::oneOf<std::int32_t>(enumerations::PulseFormGenerator)),
                     .apply = parameters::writesTo(design, OutputStatistics_Select_Select)})
    , outputPulses_(FG_TRIGGEROUT_STATS_PULSECOUNT, reads(design, OutputStatistics_ReadPulses_Status))
    , clearOutputPulses_(FG_TRIGGEROUT_STATS_PULSECOUNT_CLEAR, FG_APPLY,
                         clears<std::int32_t>(design, sets, OutputStatistics_ClearPulses_Mode))
    , outputEventSource_(FG_TRIGGER_OUTPUT_EVENT_SELECT, PULSEGEN0,
                         {.check = sets.current(parameters::oneOf<std::int32_t>(enumerations::PulseFormGenerator)),
                          .apply = parameters::writesTo(design, OutputEvent_Select_Select)})
    , exceededPeriod_(FG_TRIGGER_EXCEEDED_PERIOD_LIMITS,
                      // The generator keeps its own period.
                      [&design, &state] {
                          return std::uint32_t{state.mode().value() != ATM_GENERATOR &&
                                               queueStatus(design, exceededPeriodBit)};
                      })
    , clearExceededPeriod_(FG_TRIGGER_EXCEEDED_PERIOD_LIMITS_CLEAR, FG_APPLY,
                           clears<std::int32_t>(design, sets, Monitoring_ClearOverrideCam0_Mode))
    , missingFrame_(FG_MISSING_CAMERA_FRAME_RESPONSE,
                    [&design] { return std::uint32_t{queueStatus(design, missingFrameBit)}; })
    , clearMissingFrame_(FG_MISSING_CAMERA_FRAME_RESPONSE_CLEAR, FG_APPLY,
                         clears<std::int32_t>(design, sets, Monitoring_ClearMissingFrame_Cam0_Mode)) {}

void TriggerStatistics::enroll(parameters::Dispatch& dispatch) {
    for (parameters::Parameter* parameter : std::initializer_list<parameters::Parameter*>{
             &inputPulses_, &clearInputPulses_, &frequency_, &lowestFrequency_, &highestFrequency_, &clearFrequencies_,
             &outputSource_, &outputPulses_, &clearOutputPulses_, &outputEventSource_, &exceededPeriod_,
             &clearExceededPeriod_, &missingFrame_, &clearMissingFrame_}) {
        dispatch.add(*parameter);
    }
}

} // namespace qelm::features
