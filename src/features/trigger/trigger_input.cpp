#include "features/trigger/trigger_input.h"

#include "features/trigger/trigger_conversions.h"

namespace qelm::features {
namespace {

namespace rows = parameters::rows;
using parameters::require;
using enum parameters::DesignParameter;

} // namespace

TriggerInput::TriggerInput(parameters::Dispatch& dispatch, parameters::DesignAccess& design,
                           description::Information& information, const TriggerSets& sets)
    : source_(dispatch, rows::FG_TRIGGERIN_SRC, {.apply = parameters::writesTo(design, InputSelect_Select_Select)})
    , polarity_(dispatch, rows::FG_TRIGGERIN_POLARITY,
                {.apply = parameters::writesTo(design, InputSelect_Polarity_Invert)})
    , bypassSource_(dispatch, rows::FG_TRIGGERIN_BYPASS_SRC,
                    {.permit = sets.current(), .apply = parameters::writesTo(design, InputSelect_BypassSelect_Select)})
    , debounce_(
          dispatch, rows::FG_TRIGGERIN_DEBOUNCE,
          {.permit = sets.current(),
           .apply = [&design](double time,
                              auto) { design.write(TriggerInput_Debounce8_Prescale_Period, debounceOfTime(time)); },
           .read = [&design] { return timeOfDebounce(design.read(TriggerInput_Debounce8_Prescale_Period)); }})
    , downscale_(
          dispatch, rows::FG_TRIGGERIN_DOWNSCALE,
          {.permit = sets.current(),
           .check = [this](std::uint32_t downscale) { require(downscale > phase_.value(), FG_ERROR_OUT_OF_RANGE); },
           .apply = parameters::writesTo(design, Downscale_Downscale_Downscale),
           .settled =
               [this, &information] {
                   information.setMaximum(FG_TRIGGERIN_DOWNSCALE_PHASE, std::int64_t{downscale_.value()} - 1);
               }})
    , phase_(dispatch, rows::FG_TRIGGERIN_DOWNSCALE_PHASE,
             {.permit = sets.current(),
              .check = [this](std::uint32_t phase) { require(phase < downscale_.value(), FG_ERROR_OUT_OF_RANGE); },
              .apply = parameters::writesTo(design, Downscale_Downscale_SelectedPulse)})
    , levels_(dispatch, rows::FG_DIGIO_INPUT, parameters::reads(design, TriggerInput_InputStatus_Status)) {}

} // namespace qelm::features
