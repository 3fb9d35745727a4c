#include "features/trigger/trigger_state.h"

namespace qelm::features {
namespace {

namespace enumerations = parameters::enumerations;
using enum parameters::DesignParameter;

constexpr std::uint32_t pulse = 2; // issues one pulse of a command register
constexpr std::uint32_t on = 1;
constexpr std::uint32_t off = 0;

enum Action : std::uint8_t {
    none,
    R,  // reset counters
    O0, // outputs off
    O1, // outputs on
    G0, // generator off
    G1, // generator on
    Q,  // queue restart
    Di, // clear the input's downscale
    Ds, // clear the sequencer
    X0, // external input deselected
    X1, // external input selected
};

struct Transition {
    std::uint32_t mode, state, newMode, newState;
    Action actions[7]; // in this order
};

// A pair that is missing writes nothing: a mode that is chosen while the unit is stopped takes effect when it is
// started. TS_SYNC_STOP only keeps new triggers away and lets pulses in progress end; TS_ASYNC_STOP cuts the outputs at
// once.
// clang-format off
constexpr Transition transitions[] = {
    {ATM_GENERATOR, TS_SYNC_STOP,  ATM_GENERATOR, TS_ACTIVE,     {R, G1}},
    {ATM_GENERATOR, TS_SYNC_STOP,  ATM_GENERATOR, TS_ASYNC_STOP, {O0}},
    {ATM_GENERATOR, TS_ASYNC_STOP, ATM_GENERATOR, TS_ACTIVE,     {R, O1, G1}},
    {ATM_GENERATOR, TS_ACTIVE,     ATM_EXTERNAL, TS_ACTIVE,      {O0, Di, Q, Ds, R, O1, X1}},
    {ATM_GENERATOR, TS_ACTIVE,     ATM_SOFTWARE, TS_ACTIVE,      {O0, Di, Q, Ds, R, O1}},
    {ATM_GENERATOR, TS_ACTIVE,     ATM_GENERATOR, TS_ASYNC_STOP, {O0, G0}},
    {ATM_GENERATOR, TS_ACTIVE,     ATM_GENERATOR, TS_SYNC_STOP,  {G0}},

    {ATM_SOFTWARE, TS_SYNC_STOP,   ATM_GENERATOR, TS_SYNC_STOP,  {G0}},
    {ATM_SOFTWARE, TS_SYNC_STOP,   ATM_SOFTWARE, TS_ACTIVE,      {O0, Di, Q, Ds, R, O1}},
    {ATM_SOFTWARE, TS_SYNC_STOP,   ATM_SOFTWARE, TS_ASYNC_STOP,  {O0}},
    {ATM_SOFTWARE, TS_ASYNC_STOP,  ATM_GENERATOR, TS_ASYNC_STOP, {G0}},
    {ATM_SOFTWARE, TS_ASYNC_STOP,  ATM_SOFTWARE, TS_ACTIVE,      {Di, Q, Ds, R, O1}},
    {ATM_SOFTWARE, TS_ACTIVE,      ATM_GENERATOR, TS_ACTIVE,     {O0, R, O1, G1}},
    {ATM_SOFTWARE, TS_ACTIVE,      ATM_EXTERNAL, TS_ACTIVE,      {O0, Di, Q, Ds, R, O1, X1}},
    {ATM_SOFTWARE, TS_ACTIVE,      ATM_SOFTWARE, TS_ASYNC_STOP,  {O0}},

    {ATM_EXTERNAL, TS_SYNC_STOP,   ATM_GENERATOR, TS_SYNC_STOP,  {G0}},
    {ATM_EXTERNAL, TS_SYNC_STOP,   ATM_EXTERNAL, TS_ACTIVE,      {O0, Di, Q, Ds, R, O1, X1}},
    {ATM_EXTERNAL, TS_SYNC_STOP,   ATM_EXTERNAL, TS_ASYNC_STOP,  {O0}},
    {ATM_EXTERNAL, TS_ASYNC_STOP,  ATM_GENERATOR, TS_ASYNC_STOP, {G0}},
    {ATM_EXTERNAL, TS_ASYNC_STOP,  ATM_EXTERNAL, TS_ACTIVE,      {Di, Q, Ds, R, O1, X1}},
    {ATM_EXTERNAL, TS_ACTIVE,      ATM_GENERATOR, TS_ACTIVE,     {X0, O0, R, O1, G1}},
    {ATM_EXTERNAL, TS_ACTIVE,      ATM_SOFTWARE, TS_ACTIVE,      {X0, O0, Di, Q, Ds, R, O1}},
    {ATM_EXTERNAL, TS_ACTIVE,      ATM_EXTERNAL, TS_ASYNC_STOP,  {O0, X0}},
    {ATM_EXTERNAL, TS_ACTIVE,      ATM_EXTERNAL, TS_SYNC_STOP,   {X0}},
};
// clang-format on

} // namespace

TriggerState::TriggerState(parameters::DesignAccess& design, TriggerSets& sets, TriggerTiming& timing,
                           TriggerCrossbar& crossbar)
    : design_(design)
    , timing_(timing)
    , crossbar_(crossbar)
    , mode_(FG_AREATRIGGERMODE, ATM_GENERATOR,
            {.check = sets.current(parameters::oneOf<std::uint32_t>(enumerations::AreaTriggerMode)),
             .apply =
                 [this](std::uint32_t mode, std::uint32_t previous) {
                     change({previous, state_.value()}, {mode, state_.value()});
                 },
             .settled = [this, &sets] { sets.refreshAccess(mode_.value()); }})
    , state_(FG_TRIGGERSTATE, TS_SYNC_STOP,
             {.check = sets.current(parameters::oneOf<std::uint32_t>(enumerations::TriggerState)),
              .apply =
                  [this](std::uint32_t state, std::uint32_t previous) {
                      change({mode_.value(), previous}, {mode_.value(), state});
                  },
              .settled = [this, &sets] { sets.refreshAccess(mode_.value()); }}) {}

void TriggerState::enroll(parameters::Dispatch& dispatch) {
    dispatch.add(mode_);
    dispatch.add(state_);
}

void TriggerState::change(Pair from, Pair to) {
    for (const Transition& row : transitions) {
        if (row.mode != from.mode || row.state != from.state || row.newMode != to.mode || row.newState != to.state) {
            continue;
        }
        for (const Action action : row.actions) {
            switch (action) {
            case none:
                break;
            case R:
                resetCounters();
                break;
            case O0:
                crossbar_.off();
                break;
            case O1:
                crossbar_.on();
                break;
            case G0:
                generatorOff();
                break;
            case G1:
                restartGenerator(false);
                break;
            case Q:
                restartGenerator(true);
                break;
            case Di:
                design_.write(Downscale_Clear_Mode, pulse);
                break;
            case Ds:
                design_.write(Generators_ClearDownscale_Mode, pulse);
                break;
            case X0:
                design_.write(TriggerMode_SelectExternal_Select, off);
                break;
            case X1:
                design_.write(TriggerMode_SelectExternal_Select, on);
                break;
            }
        }
        return;
    }
}

void TriggerState::resetCounters() {
    design_.write(Monitoring_CheckForMissingFrame_Cam0_ResetMissing_Mode, pulse);
    for (std::size_t i = 0; i < TriggerTiming::generatorCount; ++i) {
        design_.write(parameters::offset(PulseFormGenerators_PulseFormGenerator0_ClearDownscale_Mode, i), pulse);
    }
}

void TriggerState::generatorOff() {
    design_.write(Generators_ClearQueuePulse_Mode, on);
}

void TriggerState::restartGenerator(bool withQueue) {
    design_.write(Generators_ClearQueuePulse_Mode, on);
    design_.write(Generators_EnableQueue_Select, withQueue ? on : off);
    timing_.writeRate();
    design_.write(PulseFormGenerators_Enable_Select, on);
    design_.write(Generators_ClearQueuePulse_Mode, off);
}

} // namespace qelm::features
