#include "features/trigger/legacy_trigger.h"

#include <type_traits>
#include <utility>

namespace qelm::features {
namespace {

namespace enumerations = parameters::enumerations;
using parameters::inRange;
using parameters::oneOf;
using parameters::require;

constexpr std::uint32_t shortestExposure = 10;    // µs
constexpr std::uint32_t longestExposure = 124990; // µs
constexpr std::uint32_t exposureStep = 10;        // µs
constexpr std::uint32_t initialExposure = 4000;   // µs
constexpr double longestDelay = 10230.0;          // µs
constexpr double smallestPrescaler = 0.032;       // µs
constexpr double largestPrescaler = 1048.56;      // µs
constexpr double initialPrescaler = 10.0;         // µs
constexpr std::uint32_t allDigitalOutputs = 3;    // a bit for each

constexpr std::size_t exsyncGenerator = 0;
constexpr std::size_t strobeGenerator = 1;
constexpr std::size_t exsyncOutput = 0;
constexpr std::size_t strobeOutput = 1;
constexpr std::size_t digitalOutput[] = {3, 7}; // by bit of FG_DIGIO_OUTPUT

/** What a legacy selection means, by the pulse's switch and polarity. A pulse that is off leaves its line inactive. */
struct Translation {
    std::uint32_t selection;
    enum { exsync, strobe, constant } pulse;
    std::uint32_t onHigh, onLow, offHigh, offLow;
};
// clang-format off
constexpr Translation translations[] = {
    // selection                              on, P non-zero    on, P = 0         off, P non-zero  off, P = 0
    {CC_EXSYNC,          Translation::exsync,   CC_PULSEGEN0,     CC_NOT_PULSEGEN0, CC_GND,          CC_VCC},
    {CC_NOT_EXSYNC,      Translation::exsync,   CC_NOT_PULSEGEN0, CC_PULSEGEN0,     CC_VCC,          CC_GND},
    {CC_STROBEPULSE,     Translation::strobe,   CC_PULSEGEN1,     CC_NOT_PULSEGEN1, CC_GND,          CC_VCC},
    {CC_NOT_STROBEPULSE, Translation::strobe,   CC_NOT_PULSEGEN1, CC_PULSEGEN1,     CC_VCC,          CC_GND},
    {CC_GND,             Translation::constant, CC_GND,           CC_GND,           CC_GND,          CC_GND},
    {CC_VCC,             Translation::constant, CC_VCC,           CC_VCC,           CC_VCC,          CC_VCC},
};

struct ModeTranslation {
    std::uint32_t legacy;
    std::uint32_t current;
};
constexpr ModeTranslation modeTranslations[] = {
    {GRABBER_CONTROLLED,     ATM_GENERATOR},
    {ASYNC_TRIGGER,          ATM_EXTERNAL},
    {ASYNC_SOFTWARE_TRIGGER, ATM_SOFTWARE},
};
// clang-format on

struct CameraControlLine {
    std::int32_t id;
    std::uint32_t initial;
};
constexpr CameraControlLine cameraControlLines[] = {
    {FG_CCSEL0, CC_EXSYNC}, {FG_CCSEL1, CC_VCC}, {FG_CCSEL2, CC_VCC}, {FG_CCSEL3, CC_VCC}};

void checkExposure(std::uint32_t exposure) {
    require(exposure >= shortestExposure && exposure <= longestExposure, FG_ERROR_OUT_OF_RANGE);
    require(exposure % exposureStep == 0, FG_ERROR_ALIGNMENT);
}

} // namespace

LegacyTrigger::LegacyTrigger(parameters::Dispatch& dispatch, TriggerSets& sets, TriggerParts parts)
    : sets_(sets)
    , parts_(parts)
    , triggerMode_(dispatch, FG_TRIGGERMODE, FREE_RUN,
                   driving(oneOf<std::uint32_t>(enumerations::LegacyTriggerMode), &LegacyTrigger::applyTriggerMode))
    , exsyncOn_(dispatch, FG_EXSYNCON, FG_OFF,
                driving(oneOf<std::uint32_t>(enumerations::OnOff), &LegacyTrigger::applyExsync))
    , exsyncPolarity_(dispatch, FG_EXSYNCPOLARITY, FG_LOW,
                      driving(oneOf<std::uint32_t>(enumerations::LegacyPolarity), &LegacyTrigger::applyExsync))
    , flashOn_(dispatch, FG_FLASHON, FG_OFF,
               driving(oneOf<std::uint32_t>(enumerations::OnOff), &LegacyTrigger::applyStrobe))
    , flashPolarity_(dispatch, FG_FLASH_POLARITY, FG_LOW,
                     driving(oneOf<std::uint32_t>(enumerations::LegacyPolarity), &LegacyTrigger::applyStrobe))
    , exposure_(dispatch, FG_EXPOSURE, initialExposure, driving(checkExposure, &LegacyTrigger::applyExposure))
    , exsyncDelay_(dispatch, FG_EXSYNCDELAY, 0.0, drivingDelay(exsyncGenerator))
    , strobeDelay_(dispatch, FG_STROBEPULSEDELAY, 0.0, drivingDelay(strobeGenerator))
    , prescaler_(dispatch, FG_PRESCALER, initialPrescaler,
                 {.check = sets.legacy(inRange(smallestPrescaler, largestPrescaler))})
    , digitalOutputs_(dispatch, FG_DIGIO_OUTPUT, allDigitalOutputs,
                      driving(inRange(0U, allDigitalOutputs), &LegacyTrigger::applyDigitalOutputs)) {
    for (const auto& [id, initial] : cameraControlLines) {
        const std::size_t line = lines_.size();
        lines_.emplace_back(
            dispatch, id, initial,
            driving(oneOf<std::uint32_t>(enumerations::LegacyCameraControl), [this, line] { applyLine(line); }));
    }
}

template <typename Check, typename Action>
LegacyTrigger::Unsigned::Rules LegacyTrigger::driving(Check check, Action action) {
    return {.check = sets_.legacy(std::move(check)), .apply = [this, action = std::move(action)](auto...) {
                const TriggerSets::Applying applying(sets_);
                if constexpr (std::is_member_function_pointer_v<Action>) {
                    (this->*action)();
                } else {
                    action();
                }
            }};
}

LegacyTrigger::Double::Rules LegacyTrigger::drivingDelay(std::size_t generator) {
    return {.check = sets_.legacy(inRange(0.0, longestDelay)), .apply = [this, generator](double time, auto) {
                const TriggerSets::Applying applying(sets_);
                parts_.timing.generator(generator).delay().set(time);
            }};
}

void LegacyTrigger::applyTriggerMode() {
    if (triggerMode_.value() == FREE_RUN) {
        parts_.state.state().set(TS_ASYNC_STOP);
    }
    for (const ModeTranslation& translation : modeTranslations) {
        if (translation.legacy == triggerMode_.value()) {
            parts_.state.mode().set(translation.current);
            parts_.queue.mode().set(FG_OFF);
            parts_.state.state().set(TS_ACTIVE);
        }
    }
    applyLines();
    applyExsyncOutput();
    applyStrobeOutput();
    applyDigitalOutputs();
}

void LegacyTrigger::applyExposure() {
    for (std::size_t i = 0; i < TriggerTiming::generatorCount; ++i) {
        parts_.timing.generator(i).width().set(exposure_.value());
    }
}

void LegacyTrigger::applyLine(std::size_t line) {
    parts_.crossbar.cameraControl(line).set(translate(lines_[line].value()));
}

void LegacyTrigger::applyLines() {
    for (std::size_t line = 0; line < lines_.size(); ++line) {
        applyLine(line);
    }
}

// Outputs take the same selections as camera-control lines, under names of their own.

void LegacyTrigger::applyExsyncOutput() {
    parts_.crossbar.output(exsyncOutput).set(translate(CC_EXSYNC));
}

void LegacyTrigger::applyStrobeOutput() {
    parts_.crossbar.output(strobeOutput).set(translate(CC_STROBEPULSE));
}

void LegacyTrigger::applyExsync() {
    applyLines();
    applyExsyncOutput();
}

void LegacyTrigger::applyStrobe() {
    applyLines();
    applyStrobeOutput();
}

void LegacyTrigger::applyDigitalOutputs() {
    for (std::size_t bit = 0; bit < std::size(digitalOutput); ++bit) {
        const bool high = (digitalOutputs_.value() >> bit & 1) != 0;
        parts_.crossbar.output(digitalOutput[bit]).set(high ? VCC : GND);
    }
}

std::uint32_t LegacyTrigger::translate(std::uint32_t selection) const {
    for (const Translation& row : translations) {
        if (row.selection == selection) {
            const bool strobe = row.pulse == Translation::strobe;
            const bool on = (strobe ? flashOn_ : exsyncOn_).value() == FG_ON;
            const bool high = (strobe ? flashPolarity_ : exsyncPolarity_).value() != FG_LOW;
            if (on) {
                return high ? row.onHigh : row.onLow;
            }
            return high ? row.offHigh : row.offLow;
        }
    }
    throw FG_ERROR_NO_TRANSLATION;
}

void LegacyTrigger::switchSet(std::int32_t mode, std::int32_t previous) {
    if (mode == previous) {
        return;
    }
    sets_.mode().store(FG_OFF); // the defaults of the current set have to be accepted
    applyDefaults();
    resetFields();
    sets_.mode().store(mode);
}

// What is refused or fails keeps its value; the others follow all the same.
void LegacyTrigger::applyDefaults() {
    const auto set = []<typename T>(parameters::Cached<T>& parameter, auto value) {
        parameters::skipRefusal([&] { parameter.set(static_cast<T>(value)); });
    };
    auto& [input, timing, crossbar, state, queue, statistics] = parts_;
    set(state.mode(), ATM_GENERATOR);
    set(state.state(), TS_SYNC_STOP);
    set(timing.rate(), 8.0);
    set(input.debounce(), 1.0);
    set(input.source(), TRGINSRC_0);
    set(input.polarity(), HIGH_ACTIVE);
    set(input.downscale(), 1);
    set(input.phase(), 0);
    set(input.bypassSource(), TRGINSRC_0);
    set(queue.multiplyPulses(), 1);
    set(queue.mode(), FG_OFF);
    set(queue.onThreshold(), 2047);
    set(queue.offThreshold(), 2);
    for (std::size_t i = 0; i < TriggerTiming::generatorCount; ++i) {
        PulseFormGenerator& generator = timing.generator(i);
        set(generator.downscale(), 1);
        set(generator.phase(), 0);
        set(generator.delay(), 0.0);
        set(generator.width(), i == exsyncGenerator ? 4000.0 : 4.0);
    }
    set(crossbar.cameraControl(0), CC_NOT_PULSEGEN0);
    for (std::size_t line = 1; line < TriggerCrossbar::cameraControlCount; ++line) {
        set(crossbar.cameraControl(line), CC_VCC);
    }
    set(crossbar.output(exsyncOutput), NOT_PULSEGEN0);
    set(crossbar.output(strobeOutput), NOT_PULSEGEN1);
    for (std::size_t line = 2; line < TriggerCrossbar::outputCount; ++line) {
        set(crossbar.output(line), VCC);
    }
    set(statistics.outputSource(), PULSEGEN0);
    set(statistics.outputEventSource(), PULSEGEN0);
}

void LegacyTrigger::resetFields() {
    triggerMode_.store(FREE_RUN);
    exsyncOn_.store(FG_OFF);
    exsyncPolarity_.store(FG_LOW);
    flashOn_.store(FG_OFF);
    flashPolarity_.store(FG_LOW);
    exposure_.store(initialExposure);
    exsyncDelay_.store(0.0);
    strobeDelay_.store(0.0);
    prescaler_.store(initialPrescaler);
    for (std::size_t line = 0; line < lines_.size(); ++line) {
        lines_[line].store(cameraControlLines[line].initial);
    }
    digitalOutputs_.store(allDigitalOutputs);
}

} // namespace qelm::features
