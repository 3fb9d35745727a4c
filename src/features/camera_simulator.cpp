#include "features/camera_simulator.h"

#include <cmath>

namespace qelm::features {
namespace {

namespace enumerations = parameters::enumerations;
using parameters::require;
using enum parameters::SimulatorRegister;

constexpr double baseClock = 125.0;   // MHz
constexpr double slowestClock = 62.5; // MHz; divided by accuracy or frequency it is the other one's lower limit
constexpr std::uint32_t counterMaximum = 65535;
constexpr std::uint32_t rollMaximum = 255;
constexpr std::uint32_t initialAccuracy = 25;
constexpr double initialFrequency = 40.0;

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
    , enable_(dispatch, FG_GEN_ENABLE, FG_CAMPORT,
              {.check = parameters::oneOf<std::uint32_t>(enumerations::ImageSource),
               .apply = parameters::writesTo(design, AAGenEnable)})
    , start_(dispatch, FG_GEN_START, FG_ON,
             {.check = parameters::oneOf<std::uint32_t>(enumerations::OnOff),
              .apply = parameters::writesTo(design, AAGenStart)})
    , width_(dispatch, FG_GEN_WIDTH, 2048,
             {.check = parameters::inRange(0U, counterMaximum),
              .apply = parameters::calls(this, &CameraSimulator::writeWidths)})
    , lineGap_(dispatch, FG_GEN_LINE_GAP, 4,
               {.check = parameters::inRange(0U, counterMaximum),
                .apply = parameters::calls(this, &CameraSimulator::writeWidths)})
    , height_(dispatch, FG_GEN_HEIGHT, 512,
              {.check = parameters::inRange(0U, counterMaximum),
               // A height of 0 wraps to all ones; callers rely on it.
               .apply = [this](std::uint32_t height, auto) { design_.write(AAGenHeight, height - 1); }})
    , frequency_(dispatch, FG_GEN_FREQ, initialFrequency,
                 {.check =
                      [this](double frequency) {
                          require(frequency >= lowestFrequency(accuracy_.value()) && frequency <= baseClock,
                                  FG_ERROR_OUT_OF_RANGE);
                          divide(accuracy_.value(), frequency);
                      },
                  .apply = parameters::calls(this, &CameraSimulator::writeClock),
                  .settled = [this] { clock_ = divide(accuracy_.value(), frequency_.value()); }})
    , accuracy_(dispatch, FG_GEN_ACCURACY, initialAccuracy,
                {.check =
                     [this](std::uint32_t accuracy) {
                         require(accuracy >= std::ceil(slowestClock / frequency_.value()) && accuracy <= counterMaximum,
                                 FG_ERROR_OUT_OF_RANGE);
                         divide(accuracy, frequency_.value());
                     },
                 .apply = parameters::calls(this, &CameraSimulator::writeClock),
                 .settled =
                     [this] {
                         clock_ = divide(accuracy_.value(), frequency_.value());
                         information_.setFloatRange(FG_GEN_FREQ, lowestFrequency(accuracy_.value()), baseClock);
                     }})
    , clock_(divide(initialAccuracy, initialFrequency))
    , tap1_(tap(dispatch, FG_GEN_TAP1, 0))
    , tap2_(tap(dispatch, FG_GEN_TAP2, 1))
    , tap3_(tap(dispatch, FG_GEN_TAP3, 2))
    , tap4_(tap(dispatch, FG_GEN_TAP4, 3))
    , roll_(dispatch, FG_GEN_ROLL, 0,
            {.check = parameters::inRange(0U, rollMaximum), .apply = parameters::writesTo(design, AAGenRoll)})
    , active_(dispatch, FG_GEN_ACTIVE, [this] { return clock_.active; })
    , passive_(dispatch, FG_GEN_PASSIVE, [this] { return clock_.passive; })
    , lineWidth_(dispatch, FG_GEN_LINE_WIDTH, [this] { return width_.value() + lineGap_.value(); }) {}

// The four taps share one mask register; its shadow is the mask.
CameraSimulator::Tap CameraSimulator::tap(parameters::Dispatch& dispatch, std::int32_t id, std::uint32_t bit) {
    return Tap(
        dispatch, id, FG_ON,
        {.check = parameters::oneOf<std::int32_t>(enumerations::OnOff), .apply = [this, bit](std::int32_t value, auto) {
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
