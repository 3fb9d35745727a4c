#include "features/trigger/trigger_timing.h"

#include "features/trigger/trigger_conversions.h"

#include <utility>

namespace qelm::features {
namespace {

using parameters::require;
using enum parameters::DesignParameter;

constexpr double initialRate = 8.0;           // Hz
constexpr std::uint32_t shortestPeriod = 10;  // in the minimum period register
constexpr double longestDelay = 34000000.0;   // µs
constexpr double shortestWidth = 1.0;         // µs
constexpr double longestWidth = 68000000.0;   // µs
constexpr double initialExsyncWidth = 4000.0; // µs; of generator 0, which makes the exsync pulse
constexpr double initialWidth = 4.0;          // µs
constexpr std::uint32_t largestDownscale = 7;

// Of each generator: downscale, phase (selected pulse), delay, width.
constexpr std::size_t valuesPerGenerator = 4;

constexpr std::int32_t idOf(std::int32_t first, std::size_t index) {
    return first + static_cast<std::int32_t>(valuesPerGenerator * index);
}
constexpr parameters::DesignParameter targetOf(parameters::DesignParameter first, std::size_t index) {
    return parameters::offset(first, valuesPerGenerator * index);
}

// Not so when the downscale is 0, which a configuration may have brought in: nothing fits then.
bool keepsUp(double period, double time, std::uint32_t downscale) {
    return period > time / downscale;
}

} // namespace

PulseFormGenerator::PulseFormGenerator(parameters::DesignAccess& design, description::Information& information,
                                       const TriggerSets& sets, const TriggerTiming& timing, std::size_t index)
    : design_(design)
    , sets_(sets)
    , timing_(timing)
    , delayTarget_(targetOf(PulseFormGenerators_PulseFormGenerator0_Delay_Delay, index))
    , widthTarget_(targetOf(PulseFormGenerators_PulseFormGenerator0_Width_Width, index))
    , downscale_(
          idOf(FG_TRIGGER_PULSEFORMGEN0_DOWNSCALE, index), 1,
          {.check = sets.current([this](std::uint32_t downscale) { checkDownscale(downscale); }),
           .apply = parameters::writesTo(design,
                                         targetOf(PulseFormGenerators_PulseFormGenerator0_Downscale_Downscale, index)),
           .settled = [this,
                       &information] { information.setMaximum(phase_.id(), std::int64_t{downscale_.value()} - 1); }})
    , phase_(idOf(FG_TRIGGER_PULSEFORMGEN0_DOWNSCALE_PHASE, index), 0,
             {.check = sets.current(
                  [this](std::uint32_t phase) { require(phase < downscale_.value(), FG_ERROR_OUT_OF_RANGE); }),
              .apply = parameters::writesTo(
                  design, targetOf(PulseFormGenerators_PulseFormGenerator0_Downscale_SelectedPulse, index))})
    , delay_(time(idOf(FG_TRIGGER_PULSEFORMGEN0_DELAY, index), 0.0, longestDelay, 0.0, delayTarget_,
                  &PulseFormGenerator::readWidth))
    , width_(time(idOf(FG_TRIGGER_PULSEFORMGEN0_WIDTH, index), shortestWidth, longestWidth,
                  index == 0 ? initialExsyncWidth : initialWidth, widthTarget_, &PulseFormGenerator::readDelay)) {}

PulseFormGenerator::Time PulseFormGenerator::time(std::int32_t id, double minimum, double maximum, double initial,
                                                  parameters::DesignParameter target,
                                                  double (PulseFormGenerator::*other)() const) {
    return Time(id, initial,
                {.check = sets_.current([this, minimum, maximum, other](double time) {
                     require(time >= minimum && time <= maximum, FG_ERROR_OUT_OF_RANGE);
                     const double period = timing_.period();
                     const std::uint32_t downscale = downscale_.value();
                     require(keepsUp(period, time, downscale) && keepsUp(period, (this->*other)(), downscale),
                             FG_ERROR_TRIGGER_TIMING);
                 }),
                 .apply = [this, target](double time, auto) { design_.write(target, ticksOfTime(time)); },
                 .read = [this, target] { return timeOfTicks(design_.read(target)); }});
}

void PulseFormGenerator::enroll(parameters::Dispatch& dispatch) {
    dispatch.add(downscale_);
    dispatch.add(phase_);
    dispatch.add(delay_);
    dispatch.add(width_);
}

bool PulseFormGenerator::fits(double period) const {
    return keepsUp(period, readDelay(), downscale_.value()) && keepsUp(period, readWidth(), downscale_.value());
}

double PulseFormGenerator::readDelay() const {
    return timeOfTicks(design_.read(delayTarget_));
}

double PulseFormGenerator::readWidth() const {
    return timeOfTicks(design_.read(widthTarget_));
}

void PulseFormGenerator::checkDownscale(std::uint32_t downscale) const {
    require(downscale > phase_.value() && downscale <= largestDownscale, FG_ERROR_OUT_OF_RANGE);
    const double period = timing_.period();
    require(keepsUp(period, readDelay(), downscale) && keepsUp(period, readWidth(), downscale),
            FG_ERROR_DOWNSCALE_TIMING);
}

TriggerTiming::TriggerTiming(parameters::DesignAccess& design, description::Information& information,
                             const TriggerSets& sets, std::function<bool()> rateCounts)
    : design_(design)
    , rateCounts_(std::move(rateCounts))
    , rate_(FG_TRIGGER_FRAMESPERSECOND, initialRate,
            {.check = [this](double rate) { checkRate(rate); },
             .apply = [this](auto...) { writeRate(); },
             .read = [this] { return rateAsTold(rate_.value()); }})
    , generators_{{{design, information, sets, *this, 0},
                   {design, information, sets, *this, 1},
                   {design, information, sets, *this, 2},
                   {design, information, sets, *this, 3}}} {}

void TriggerTiming::enroll(parameters::Dispatch& dispatch) {
    dispatch.add(rate_);
    for (PulseFormGenerator& generator : generators_) {
        generator.enroll(dispatch);
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

void TriggerTiming::checkRate(double rate) const {
    require(rate >= lowestRate && rate <= highestRate, FG_ERROR_OUT_OF_RANGE);
    for (const PulseFormGenerator& generator : generators_) {
        require(generator.fits(periodOfRate(rate)), FG_ERROR_TRIGGER_TIMING);
    }
}

} // namespace qelm::features
