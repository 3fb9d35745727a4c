#include "features/trigger/trigger_timing.h"

#include "features/trigger/trigger_conversions.h"

#include <utility>

namespace qelm::features {
namespace {

namespace rows = parameters::rows;
using parameters::calls;
using parameters::require;
using enum parameters::DesignParameter;

constexpr std::uint32_t shortestPeriod = 10; // in the minimum period register

#define QELM_GENERATOR_NAMES(n)                                                                                        \
    {                                                                                                                  \
        rows::FG_TRIGGER_PULSEFORMGEN##n##_DOWNSCALE, rows::FG_TRIGGER_PULSEFORMGEN##n##_DOWNSCALE_PHASE,              \
            rows::FG_TRIGGER_PULSEFORMGEN##n##_DELAY, rows::FG_TRIGGER_PULSEFORMGEN##n##_WIDTH,                        \
            PulseFormGenerators_PulseFormGenerator##n##_Downscale_Downscale,                                           \
            PulseFormGenerators_PulseFormGenerator##n##_Downscale_SelectedPulse,                                       \
            PulseFormGenerators_PulseFormGenerator##n##_Delay_Delay,                                                   \
            PulseFormGenerators_PulseFormGenerator##n##_Width_Width,                                                   \
            PulseFormGenerators_PulseFormGenerator##n##_ClearDownscale_Mode                                            \
    }
constexpr PulseFormGenerator::Names generatorNames[TriggerTiming::generatorCount] = {
    QELM_GENERATOR_NAMES(0),
    QELM_GENERATOR_NAMES(1),
    QELM_GENERATOR_NAMES(2),
    QELM_GENERATOR_NAMES(3),
};
#undef QELM_GENERATOR_NAMES

// Not so when the downscale is 0, which a configuration may have brought in: nothing fits then.
bool keepsUp(double period, double time, std::uint32_t downscale) {
    return period > time / downscale;
}

} // namespace

PulseFormGenerator::PulseFormGenerator(parameters::Dispatch& dispatch, parameters::DesignAccess& design,
                                       description::Information& information, const TriggerSets& sets,
                                       const TriggerTiming& timing, const Names& names)
    : design_(design)
    , timing_(timing)
    , names_(names)
    , downscale_(
          dispatch, names.downscaleRow,
          {.permit = sets.current(),
           .check = calls(this, &PulseFormGenerator::checkDownscale),
           .apply = parameters::writesTo(design, names.downscale),
           .settled = [this,
                       &information] { information.setMaximum(phase_.id(), std::int64_t{downscale_.value()} - 1); }})
    , phase_(dispatch, names.phaseRow,
             {.permit = sets.current(),
              .check = calls(this, &PulseFormGenerator::checkPhase),
              .apply = parameters::writesTo(design, names.phase)})
    , delay_(dispatch, names.delayRow,
             {.permit = sets.current(),
              .check = calls(this, &PulseFormGenerator::checkDelay),
              .apply = calls(this, &PulseFormGenerator::writeDelay),
              .read = calls(this, &PulseFormGenerator::readDelay)})
    , width_(dispatch, names.widthRow,
             {.permit = sets.current(),
              .check = calls(this, &PulseFormGenerator::checkWidth),
              .apply = calls(this, &PulseFormGenerator::writeWidth),
              .read = calls(this, &PulseFormGenerator::readWidth)}) {}

bool PulseFormGenerator::fits(double period) const {
    return keepsUp(period, readDelay(), downscale_.value()) && keepsUp(period, readWidth(), downscale_.value());
}

double PulseFormGenerator::readTime(parameters::DesignParameter target) const {
    return timeOfTicks(design_.read(target));
}

void PulseFormGenerator::writeTime(parameters::DesignParameter target, double time) {
    design_.write(target, ticksOfTime(time));
}

void PulseFormGenerator::checkDownscale(std::uint32_t downscale) const {
    require(downscale > phase_.value(), FG_ERROR_OUT_OF_RANGE);
    const double period = timing_.period();
    require(keepsUp(period, readDelay(), downscale) && keepsUp(period, readWidth(), downscale),
            FG_ERROR_DOWNSCALE_TIMING);
}

void PulseFormGenerator::checkPhase(std::uint32_t phase) const {
    require(phase < downscale_.value(), FG_ERROR_OUT_OF_RANGE);
}

// The other one is read only when this one fits.
void PulseFormGenerator::checkTime(double time, parameters::DesignParameter other) const {
    const double period = timing_.period();
    const std::uint32_t downscale = downscale_.value();
    require(keepsUp(period, time, downscale) && keepsUp(period, readTime(other), downscale), FG_ERROR_TRIGGER_TIMING);
}

TriggerTiming::TriggerTiming(parameters::Dispatch& dispatch, parameters::DesignAccess& design,
                             description::Information& information, const TriggerSets& sets,
                             std::function<bool()> rateCounts)
    : design_(design)
    , rateCounts_(std::move(rateCounts))
    , rate_(dispatch, rows::FG_TRIGGER_FRAMESPERSECOND,
            {.check = calls(this, &TriggerTiming::checkRate),
             .apply = calls(this, &TriggerTiming::writeRate),
             .read = [this] { return reportedRate(rate_.value()); }}) {
    for (const PulseFormGenerator::Names& names : generatorNames) {
        generators_.emplace_back(dispatch, design, information, sets, *this, names);
    }
}

double TriggerTiming::period() const {
    return periodOfRate(rate_.value());
}

void TriggerTiming::writeRate() {
    if (rateCounts_()) {
        design_.write(Generators_Generator_MinimumPeriod_Number, minimumPeriodOfRate(rate_.value()));
    } else {
        writeShortestPeriod();
    }
}

void TriggerTiming::writeShortestPeriod() {
    design_.write(Generators_Generator_MinimumPeriod_Number, shortestPeriod);
}

void TriggerTiming::clearDownscales() {
    for (PulseFormGenerator& generator : generators_) {
        generator.clearDownscale();
    }
}

void TriggerTiming::checkRate(double rate) const {
    for (const PulseFormGenerator& generator : generators_) {
        require(generator.fits(periodOfRate(rate)), FG_ERROR_TRIGGER_TIMING);
    }
}

} // namespace qelm::features
