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

CameraSimulator::CameraSimulator(parameters::DesignAccess& design, description::Information& information)
    : design_(design)
    , information_(information)
    , enable_(FG_GEN_ENABLE, FG_CAMPORT,
              {.check = parameters::oneOf<std::uint32_t>(enumerations::ImageSource),
               .apply = parameters::writesTo(design, AAGenEnable)})
    , start_(FG_GEN_START, FG_ON,
             {.check = parameters::oneOf<std::uint32_t>(enumerations::OnOff),
              .apply = parameters::writesTo(design, AAGenStart)})
    , width_(FG_GEN_WIDTH, 2048,
             {.check = parameters::inRange(0U, counterMaximum), .apply = [this](auto...) { writeWidths(); }})
    , lineGap_(FG_GEN_LINE_GAP, 4,
               {.check = parameters::inRange(0U, counterMaximum), .apply = [this](auto...) { writeWidths(); }})
    , height_(FG_GEN_HEIGHT, 512,
              {.check = parameters::inRange(0U, counterMaximum),
               // A height of 0 wraps to all ones; callers rely on it.
               .apply = [this](std::uint32_t height, auto) { design_.write(AAGenHeight, height - 1); }})
    , frequency_(FG_GEN_FREQ, initialFrequency,
                 {.check =
                      [this](double frequency) {
                          require(frequency >= lowestFrequency(accuracy_.value()) && frequency <= baseClock,
                                  FG_ERROR_OUT_OF_RANGE);
                          divide(accuracy_.value(), frequency);
                      },
                  .apply = [this](auto...) { writeClock(); },
                  .settled = [this] { clock_ = divide(accuracy_.value(), frequency_.value()); }})
    , accuracy_(FG_GEN_ACCURACY, initialAccuracy,
                {.check =
                     [this](std::uint32_t accuracy) {
                         require(accuracy >= std::ceil(slowestClock / frequency_.value()) && accuracy <= counterMaximum,
                                 FG_ERROR_OUT_OF_RANGE);
                         divide(accuracy, frequency_.value());
                     },
                 .apply = [this](auto...) { writeClock(); },
                 .settled =
                     [this] {
                         clock_ = divide(accuracy_.value(), frequency_.value());
                         information_.setFloatRange(FG_GEN_FREQ, lowestFrequency(accuracy_.value()), baseClock);
                     }})
    , clock_(divide(initialAccuracy, initialFrequency))
    , tap1_(tap(FG_GEN_TAP1, 0))
    , tap2_(tap(FG_GEN_TAP2, 1))
    , tap3_(tap(FG_GEN_TAP3, 2))
    , tap4_(tap(FG_GEN_TAP4, 3))
    , roll_(FG_GEN_ROLL, 0,
            {.check = parameters::inRange(0U, rollMaximum), .apply = parameters::writesTo(design, AAGenRoll)})
    , active_(FG_GEN_ACTIVE, [this] { return clock_.active; })
    , passive_(FG_GEN_PASSIVE, [this] { return clock_.passive; })
    , lineWidth_(FG_GEN_LINE_WIDTH, [this] { return width_.value() + lineGap_.value(); }) {}

void CameraSimulator::enroll(parameters::Dispatch& dispatch) {
    for (parameters::Parameter* parameter : std::initializer_list<parameters::Parameter*>{
             &enable_, &start_, &width_, &lineGap_, &height_, &frequency_, &accuracy_, &tap1_, &tap2_, &tap3_, &tap4_,
             &roll_, &active_, &passive_, &lineWidth_}) {
        dispatch.add(*parameter);
    }
}

// The four taps share one mask register; its shadow is the mask.
CameraSimulator::Tap CameraSimulator::tap(std::int32_t id, std::uint32_t bit) {
    return Tap(
        id, FG_ON,
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
