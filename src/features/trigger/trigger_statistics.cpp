#include "features/trigger/trigger_statistics.h"

#include "features/trigger/trigger_conversions.h"

namespace qelm::features {
namespace {

namespace rows = parameters::rows;
using parameters::DesignAccess;
using parameters::DesignParameter;
using enum parameters::DesignParameter;

constexpr std::uint32_t exceededPeriodBit = 1; // of the queue status
constexpr std::uint32_t missingFrameBit = 4;

/** Rules of a parameter that clears something: `clear` has the design do it. */
template <typename T>
typename parameters::Cached<T>::Rules clears(const TriggerSets& sets, std::function<void()> clear) {
    return {.permit = sets.current(), .apply = [clear = std::move(clear)](auto...) { clear(); }};
}

/** Likewise, by a pulse of the command register. */
typename parameters::Cached<std::int32_t>::Rules clears(DesignAccess& design, const TriggerSets& sets,
                                                        DesignParameter command) {
    return clears<std::int32_t>(sets, [&design, command] { design.pulse(command); });
}

auto readsFrequency(DesignAccess& design, DesignParameter period) {
    return [&design, period] { return frequencyOfPeriod(design.read(period)); };
}

bool queueStatus(DesignAccess& design, std::uint32_t bit) {
    return (design.read(Monitoring_ReadQueueStatus_Status) & bit) != 0;
}

} // namespace

TriggerStatistics::TriggerStatistics(parameters::Dispatch& dispatch, DesignAccess& design, const TriggerSets& sets,
                                     const TriggerState& state)
    : inputPulses_(dispatch, rows::FG_TRIGGERIN_STATS_PULSECOUNT,
                   parameters::reads(design, InputStatistics_ReadPulses_Status))
    , clearInputPulses_(dispatch, rows::FG_TRIGGERIN_STATS_PULSECOUNT_CLEAR,
                        clears(design, sets, InputStatistics_ClearPulses_Mode))
    , frequency_(dispatch, rows::FG_TRIGGERIN_STATS_FREQUENCY,
                 readsFrequency(design, InputStatistics_ReadPeriod_Status))
    , lowestFrequency_(dispatch, rows::FG_TRIGGERIN_STATS_MINFREQUENCY,
                       readsFrequency(design, InputStatistics_ReadMin_Status))
    , highestFrequency_(dispatch, rows::FG_TRIGGERIN_STATS_MAXFREQUENCY,
                        readsFrequency(design, InputStatistics_ReadMax_Status))
    , clearFrequencies_(dispatch, rows::FG_TRIGGERIN_STATS_MINMAXFREQUENCY_CLEAR,
                        clears<std::uint32_t>(sets, [&design] { design.write(InputStatistics_ClearMinMax_Value, 1U); }))
    , outputSource_(dispatch, rows::FG_TRIGGEROUT_STATS_SOURCE,
                    {.permit = sets.current(), .apply = parameters::writesTo(design, OutputStatistics_Select_Select)})
    , outputPulses_(dispatch, rows::FG_TRIGGEROUT_STATS_PULSECOUNT,
                    parameters::reads(design, OutputStatistics_ReadPulses_Status))
    , clearOutputPulses_(dispatch, rows::FG_TRIGGEROUT_STATS_PULSECOUNT_CLEAR,
                         clears(design, sets, OutputStatistics_ClearPulses_Mode))
    , outputEventSource_(dispatch, rows::FG_TRIGGER_OUTPUT_EVENT_SELECT,
                         {.permit = sets.current(), .apply = parameters::writesTo(design, OutputEvent_Select_Select)})
    , exceededPeriod_(dispatch, rows::FG_TRIGGER_EXCEEDED_PERIOD_LIMITS,
                      // The generator keeps its own period.
                      [&design, &state] {
                          return std::uint32_t{state.mode().value() != ATM_GENERATOR &&
                                               queueStatus(design, exceededPeriodBit)};
                      })
    , clearExceededPeriod_(dispatch, rows::FG_TRIGGER_EXCEEDED_PERIOD_LIMITS_CLEAR,
                           clears(design, sets, Monitoring_ClearOverrideCam0_Mode))
    , missingFrame_(dispatch, rows::FG_MISSING_CAMERA_FRAME_RESPONSE,
                    [&design] { return std::uint32_t{queueStatus(design, missingFrameBit)}; })
    , clearMissingFrame_(dispatch, rows::FG_MISSING_CAMERA_FRAME_RESPONSE_CLEAR,
                         clears(design, sets, Monitoring_ClearMissingFrame_Cam0_Mode)) {}

} // namespace qelm::features
