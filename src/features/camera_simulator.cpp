#include "features/camera_simulator.h"

#include <cmath>

namespace qelm::features {
namespace {

namespace rows = parameters::rows;
using parameters::require;
using enum parameters::SimulatorRegister;

constexpr double baseClock = 125.0;   // MHz
constexpr double slowestClock = 62.5; // MHz; divided by accuracy or frequency it is the other one's lower limit
constexpr std::uint32_t counterMaximum = 65535;

double lowestFrequency(std::uint32_t accuracy) {
    return std::ceil(slowestClock / accuracy);
}

// The width registers count 8-byte words of two bytes a pixel.
std::uint32_t words(std::uint32_t pixels) {
    return 2 * pixels / 8;
}

} // namespace

CameraSimulator::CameraSimulator(parameters::Dispatch& dispatch, parameters::DesignAccess& design,
                                 description::Information& information)
    : design_(design)
    , information_(information)
    , enable_(dispatch, rows::FG_GEN_ENABLE, {.apply = parameters::writesTo(design, AAGenEnable)})
    , start_(dispatch, rows::FG_GEN_START, {.apply = parameters::writesTo(design, AAGenStart)})
    , width_(dispatch, rows::FG_GEN_WIDTH, {.apply = parameters::calls(this, &CameraSimulator::writeWidths)})
    , lineGap_(dispatch, rows::FG_GEN_LINE_GAP, {.apply = parameters::calls(this, &CameraSimulator::writeWidths)})
    , height_(dispatch, rows::FG_GEN_HEIGHT,
              {// A height of 0 wraps to all ones; callers rely on it.
               .apply = [this](std::uint32_t height, auto) { design_.write(AAGenHeight, height - 1); }})
    , frequency_(dispatch, rows::FG_GEN_FREQ,
                 {.check =
                      [this](double frequency) {
                          require(frequency >= lowestFrequency(accuracy_.value()), FG_ERROR_OUT_OF_RANGE);
                          divide(accuracy_.value(), frequency);
                      },
                  .apply = parameters::calls(this, &CameraSimulator::writeClock),
                  .settled = [this] { clock_ = divide(accuracy_.value(), frequency_.value()); }})
    , accuracy_(dispatch, rows::FG_GEN_ACCURACY,
                {.check =
                     [this](std::uint32_t accuracy) {
                         require(accuracy >= std::ceil(slowestClock / frequency_.value()), FG_ERROR_OUT_OF_RANGE);
                         divide(accuracy, frequency_.value());
                     },
                 .apply = parameters::calls(this, &CameraSimulator::writeClock),
                 .settled =
                     [this] {
                         clock_ = divide(accuracy_.value(), frequency_.value());
                         information_.setFloatRange(FG_GEN_FREQ, lowestFrequency(accuracy_.value()), baseClock);
                     }})
    , clock_(divide(accuracy_.value(), frequency_.value()))
    , tap1_(tap(dispatch, rows::FG_GEN_TAP1, 0))
    , tap2_(tap(dispatch, rows::FG_GEN_TAP2, 1))
    , tap3_(tap(dispatch, rows::FG_GEN_TAP3, 2))
    , tap4_(tap(dispatch, rows::FG_GEN_TAP4, 3))
    , roll_(dispatch, rows::FG_GEN_ROLL, {.apply = parameters::writesTo(design, AAGenRoll)})
    , active_(dispatch, rows::FG_GEN_ACTIVE, [this] { return clock_.active; })
    , passive_(dispatch, rows::FG_GEN_PASSIVE, [this] { return clock_.passive; })
    , lineWidth_(dispatch, rows::FG_GEN_LINE_WIDTH, [this] { return width_.value() + lineGap_.value(); }) {}

// The four taps share one mask register; its shadow is the mask.
CameraSimulator::Tap CameraSimulator::tap(parameters::Dispatch& dispatch, const parameters::RowOf<std::int32_t>& row,
                                          std::uint32_t bit) {
    return Tap(dispatch, row, {.apply = [this, bit](std::int32_t value, auto) {
                   const std::uint64_t flag = std::uint64_t{1} << bit;
                   const std::uint64_t mask = design_.shadow(AAGenMask);
                   design_.write(AAGenMask, value == FG_ON ? mask | flag : mask & ~flag);
               }});
}

void CameraSimulator::writeWidths() {
    design_.write(AAGenWidth, words(width_.value()));
    design_.write(AAGenLineWidth, words(width_.value() + lineGap_.value()));
}

// The registers hold one less than the counts; a count of 0 wraps to all ones.
void CameraSimulator::writeClock() {
    const Clock clock = divide(accuracy_.value(), frequency_.value());
    design_.write(AAGenActive, clock.active - 1);
    design_.write(AAGenPassive, clock.passive - 1);
}

CameraSimulator::Clock CameraSimulator::divide(std::uint32_t accuracy, double frequency) {
    const double active = std::trunc(accuracy * frequency / baseClock + 0.5);
    const double passive = accuracy - active;
    require(active >= 1 && active <= counterMaximum && passive >= 0 && passive <= counterMaximum,
            FG_ERROR_OUT_OF_RANGE);
    return {static_cast<std::uint32_t>(active), static_cast<std::uint32_t>(passive)};
}

} // namespace qelm::features
