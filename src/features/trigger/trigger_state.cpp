#include "features/trigger/trigger_state.h"

namespace qelm::features {
namespace {

namespace rows = parameters::rows;
using enum parameters::DesignParameter;

constexpr std::uint32_t on = 1;
constexpr std::uint32_t off = 0;

using Step = TriggerState::Step;
using enum TriggerState::Step;

struct Transition {
    std::uint32_t mode, state, newMode, newState;
    Step steps[7]; // in this order
};

// A pair that is missing writes nothing: a mode that is chosen while the unit is stopped takes effect when it is
// started. TS_SYNC_STOP only keeps new triggers away and lets pulses in progress end; TS_ASYNC_STOP cuts the outputs at
// once.
// clang-format off
constexpr Transition transitions[] = {
    {ATM_GENERATOR, TS_SYNC_STOP, ATM_GENERATOR, TS_ACTIVE,     {resetCounters, restartGenerator}},
    {ATM_GENERATOR, TS_SYNC_STOP, ATM_GENERATOR, TS_ASYNC_STOP, {outputsOff}},
    {ATM_GENERATOR, TS_ASYNC_STOP, ATM_GENERATOR, TS_ACTIVE,    {resetCounters, outputsOn, restartGenerator}},
    {ATM_GENERATOR, TS_ACTIVE, ATM_EXTERNAL, TS_ACTIVE,
        {outputsOff, clearInputDownscale, restartQueue, clearSequencer, resetCounters, outputsOn, selectExternal}},
    {ATM_GENERATOR, TS_ACTIVE, ATM_SOFTWARE, TS_ACTIVE,
        {outputsOff, clearInputDownscale, restartQueue, clearSequencer, resetCounters, outputsOn}},
    {ATM_GENERATOR, TS_ACTIVE, ATM_GENERATOR, TS_ASYNC_STOP,    {outputsOff, generatorOff}},
    {ATM_GENERATOR, TS_ACTIVE, ATM_GENERATOR, TS_SYNC_STOP,     {generatorOff}},

    {ATM_SOFTWARE, TS_SYNC_STOP, ATM_GENERATOR, TS_SYNC_STOP,   {generatorOff}},
    {ATM_SOFTWARE, TS_SYNC_STOP, ATM_SOFTWARE, TS_ACTIVE,
        {outputsOff, clearInputDownscale, restartQueue, clearSequencer, resetCounters, outputsOn}},
    {ATM_SOFTWARE, TS_SYNC_STOP, ATM_SOFTWARE, TS_ASYNC_STOP,   {outputsOff}},
    {ATM_SOFTWARE, TS_ASYNC_STOP, ATM_GENERATOR, TS_ASYNC_STOP, {generatorOff}},
    {ATM_SOFTWARE, TS_ASYNC_STOP, ATM_SOFTWARE, TS_ACTIVE,
        {clearInputDownscale, restartQueue, clearSequencer, resetCounters, outputsOn}},
    {ATM_SOFTWARE, TS_ACTIVE, ATM_GENERATOR, TS_ACTIVE,
        {outputsOff, resetCounters, outputsOn, restartGenerator}},
    {ATM_SOFTWARE, TS_ACTIVE, ATM_EXTERNAL, TS_ACTIVE,
        {outputsOff, clearInputDownscale, restartQueue, clearSequencer, resetCounters, outputsOn, selectExternal}},
    {ATM_SOFTWARE, TS_ACTIVE, ATM_SOFTWARE, TS_ASYNC_STOP,      {outputsOff}},

    {ATM_EXTERNAL, TS_SYNC_STOP, ATM_GENERATOR, TS_SYNC_STOP,   {generatorOff}},
    {ATM_EXTERNAL, TS_SYNC_STOP, ATM_EXTERNAL, TS_ACTIVE,
        {outputsOff, clearInputDownscale, restartQueue, clearSequencer, resetCounters, outputsOn, selectExternal}},
    {ATM_EXTERNAL, TS_SYNC_STOP, ATM_EXTERNAL, TS_ASYNC_STOP,   {outputsOff}},
    {ATM_EXTERNAL, TS_ASYNC_STOP, ATM_GENERATOR, TS_ASYNC_STOP, {generatorOff}},
    {ATM_EXTERNAL, TS_ASYNC_STOP, ATM_EXTERNAL, TS_ACTIVE,
        {clearInputDownscale, restartQueue, clearSequencer, resetCounters, outputsOn, selectExternal}},
    {ATM_EXTERNAL, TS_ACTIVE, ATM_GENERATOR, TS_ACTIVE,
        {deselectExternal, outputsOff, resetCounters, outputsOn, restartGenerator}},
    {ATM_EXTERNAL, TS_ACTIVE, ATM_SOFTWARE, TS_ACTIVE,
        {deselectExternal, outputsOff, clearInputDownscale, restartQueue, clearSequencer, resetCounters, outputsOn}},
    {ATM_EXTERNAL, TS_ACTIVE, ATM_EXTERNAL, TS_ASYNC_STOP,      {outputsOff, deselectExternal}},
    {ATM_EXTERNAL, TS_ACTIVE, ATM_EXTERNAL, TS_SYNC_STOP,       {deselectExternal}},
};
// clang-format on

} // namespace

TriggerState::TriggerState(parameters::Dispatch& dispatch, parameters::DesignAccess& design, TriggerSets& sets,
                           TriggerTiming& timing, TriggerCrossbar& crossbar)
    : design_(design)
    , timing_(timing)
    , crossbar_(crossbar)
    , mode_(dispatch, rows::FG_AREATRIGGERMODE,
            {.permit = sets.current(),
             .apply = parameters::calls(this, &TriggerState::changeMode),
             .settled = [this, &sets] { sets.refreshAccess(mode_.value()); }})
    , state_(dispatch, rows::FG_TRIGGERSTATE,
             {.permit = sets.current(),
              .apply = parameters::calls(this, &TriggerState::changeState),
              .settled = [this, &sets] { sets.refreshAccess(mode_.value()); }}) {}

void TriggerState::changeMode(std::uint32_t mode, std::uint32_t previous) {
    change({previous, state_.value()}, {mode, state_.value()});
}

void TriggerState::changeState(std::uint32_t state, std::uint32_t previous) {
    change({mode_.value(), previous}, {mode_.value(), state});
}

void TriggerState::change(Pair from, Pair to) {
    for (const Transition& row : transitions) {
        if (row.mode != from.mode || row.state != from.state || row.newMode != to.mode || row.newState != to.state) {
            continue;
        }
        for (const Step step : row.steps) {
            take(step);
        }
        return;
    }
}

void TriggerState::take(Step step) {
    switch (step) {
    case none:
        break;
    case resetCounters:
        design_.pulse(Monitoring_CheckForMissingFrame_Cam0_ResetMissing_Mode);
        timing_.clearDownscales();
        break;
    case outputsOff:
        crossbar_.off();
        break;
    case outputsOn:
        crossbar_.on();
        break;
    case generatorOff:
        stopGenerator();
        break;
    case restartGenerator:
        startGenerator(false);
        break;
    case restartQueue:
        startGenerator(true);
        break;
    case clearInputDownscale:
        design_.pulse(Downscale_Clear_Mode);
        break;
    case clearSequencer:
        design_.pulse(Generators_ClearDownscale_Mode);
        break;
    case deselectExternal:
        design_.write(TriggerMode_SelectExternal_Select, off);
        break;
    case selectExternal:
        design_.write(TriggerMode_SelectExternal_Select, on);
        break;
    }
}

void TriggerState::stopGenerator() {
    design_.write(Generators_ClearQueuePulse_Mode, on);
}

void TriggerState::startGenerator(bool withQueue) {
    design_.write(Generators_ClearQueuePulse_Mode, on);
    design_.write(Generators_EnableQueue_Select, withQueue ? on : off);
    timing_.writeRate();
    design_.write(PulseFormGenerators_Enable_Select, on);
    design_.write(Generators_ClearQueuePulse_Mode, off);
}

} // namespace qelm::features
