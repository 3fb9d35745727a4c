#include "features/trigger/trigger_input.h"

#include "features/trigger/trigger_conversions.h"

namespace qelm::features {
namespace {

namespace enumerations = parameters::enumerations;
using parameters::require;
using enum parameters::DesignParameter;

constexpr double shortestDebounce = 0.096; // µs
constexpr double longestDebounce = 3.024;  // µs
constexpr double initialDebounce = 1.0;    // µs

} // namespace

TriggerInput::TriggerInput(parameters::Dispatch& dispatch, parameters::DesignAccess& design,
                           description::Information& information, const TriggerSets& sets)
    : source_(dispatch, FG_TRIGGERIN_SRC, TRGINSRC_0,
              {.check = parameters::oneOf<std::uint32_t>(enumerations::TriggerInputSource),
               .apply = parameters::writesTo(design, InputSelect_Select_Select)})
    , polarity_(dispatch, FG_TRIGGERIN_POLARITY, HIGH_ACTIVE,
                {.check = parameters::oneOf<std::int32_t>(enumerations::TriggerInputPolarity),
                 .apply = parameters::writesTo(design, InputSelect_Polarity_Invert)})
    , bypassSource_(dispatch, FG_TRIGGERIN_BYPASS_SRC, TRGINSRC_0,
                    {.check = sets.current(parameters::oneOf<std::int32_t>(enumerations::TriggerInputSource)),
                     .apply = parameters::writesTo(design, InputSelect_BypassSelect_Select)})
    , debounce_(
          dispatch, FG_TRIGGERIN_DEBOUNCE, initialDebounce,
          {.check = sets.current(parameters::inRange(shortestDebounce, longestDebounce)),
           .apply = [&design](double time,
                              auto) { design.write(TriggerInput_Debounce8_Prescale_Period, debounceOfTime(time)); },
           .read = [&design] { return timeOfDebounce(design.read(TriggerInput_Debounce8_Prescale_Period)); }})
    , downscale_(dispatch, FG_TRIGGERIN_DOWNSCALE, 1,
                 {.check = sets.current(
                      [this](std::uint32_t downscale) { require(downscale > phase_.value(), FG_ERROR_OUT_OF_RANGE); }),
                  .apply = parameters::writesTo(design, Downscale_Downscale_Downscale),
                  .settled =
                      [this, &information] {
                          information.setMaximum(FG_TRIGGERIN_DOWNSCALE_PHASE, std::int64_t{downscale_.value()} - 1);
                      }})
    , phase_(dispatch, FG_TRIGGERIN_DOWNSCALE_PHASE, 0,
             {.check = sets.current(
                  [this](std::uint32_t phase) { require(phase < downscale_.value(), FG_ERROR_OUT_OF_RANGE); }),
              .apply = parameters::writesTo(design, Downscale_Downscale_SelectedPulse)})
    , levels_(dispatch, FG_DIGIO_INPUT, parameters::reads(design, TriggerInput_InputStatus_Status)) {}

} // namespace qelm::features
