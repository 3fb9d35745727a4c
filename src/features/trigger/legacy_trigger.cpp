#include "features/trigger/legacy_trigger.h"

#include <utility>

namespace qelm::features {
namespace {

namespace enumerations = parameters::enumerations;
using parameters::OnFailure;
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

} // namespace

LegacyTrigger::LegacyTrigger(TriggerSets& sets, TriggerRooms rooms)
    : sets_(sets)
    , rooms_(rooms)
    , triggerMode_(
          FG_TRIGGERMODE, FREE_RUN,
          driving(parameters::oneOf<std::uint32_t>(enumerations::LegacyTriggerMode), [this] { applyTriggerMode(); }))
    , exsyncOn_(onOff(FG_EXSYNCON, &LegacyTrigger::applyExsyncOutput))
    , exsyncPolarity_(polarity(FG_EXSYNCPOLARITY, &LegacyTrigger::applyExsyncOutput))
    , flashOn_(onOff(FG_FLASHON, &LegacyTrigger::applyStrobeOutput))
    , flashPolarity_(polarity(FG_FLASH_POLARITY, &LegacyTrigger::applyStrobeOutput))
    , exposure_(FG_EXPOSURE, initialExposure,
                driving(
                    [](std::uint32_t exposure) {
                        require(exposure >= shortestExposure && exposure <= longestExposure, FG_ERROR_OUT_OF_RANGE);
                        require(exposure % exposureStep == 0, FG_ERROR_ALIGNMENT);
                    },
                    [this] { applyExposure(); }))
    , exsyncDelay_(delay(FG_EXSYNCDELAY, exsyncGenerator))
    , strobeDelay_(delay(FG_STROBEPULSEDELAY, strobeGenerator))
    , prescaler_(FG_PRESCALER, initialPrescaler,
                 {.check = sets.legacy(parameters::inRange(smallestPrescaler, largestPrescaler))})
    , lines_{{lineSelection(0, CC_EXSYNC), lineSelection(1, CC_VCC), lineSelection(2, CC_VCC),
              lineSelection(3, CC_VCC)}}
    , digitalOutputs_(FG_DIGIO_OUTPUT, allDigitalOutputs,
                      driving(parameters::inRange(0U, allDigitalOutputs), [this] { applyDigitalOutputs(); })) {}

void LegacyTrigger::enroll(parameters::Dispatch& dispatch) {
    for (parameters::Parameter* parameter : std::initializer_list<parameters::Parameter*>{
             &triggerMode_, &exsyncOn_, &exsyncPolarity_, &flashOn_, &flashPolarity_, &exposure_, &exsyncDelay_,
             &strobeDelay_, &prescaler_, &digitalOutputs_}) {
        dispatch.add(*parameter);
    }
    for (Unsigned& line : lines_) {
        dispatch.add(line);
    }
}

template <typename Check, typename Action>
LegacyTrigger::Unsigned::Rules LegacyTrigger::driving(Check check, Action action) {
    return {.check = sets_.legacy(std::move(check)), .apply = [this, action = std::move(action)](auto...) {
                const TriggerSets::Applying applying(sets_);
                action();
            }};
}

LegacyTrigger::Unsigned LegacyTrigger::onOff(std::int32_t id, void (LegacyTrigger::*applyOutput)()) {
    return Unsigned(id, FG_OFF, driving(parameters::oneOf<std::uint32_t>(enumerations::OnOff), [this, applyOutput] {
                        applyLines();
                        (this->*applyOutput)();
                    }));
}

LegacyTrigger::Unsigned LegacyTrigger::polarity(std::int32_t id, void (LegacyTrigger::*applyOutput)()) {
    return Unsigned(id, FG_LOW,
                    driving(parameters::oneOf<std::uint32_t>(enumerations::LegacyPolarity), [this, applyOutput] {
                        applyLines();
                        (this->*applyOutput)();
                    }));
}

LegacyTrigger::Double LegacyTrigger::delay(std::int32_t id, std::size_t generator) {
    return Double(
        id, 0.0,
        {.check = sets_.legacy(parameters::inRange(0.0, longestDelay)), .apply = [this, generator](double time, auto) {
             const TriggerSets::Applying applying(sets_);
             rooms_.timing.generator(generator).delay().change(time);
         }});
}

LegacyTrigger::Unsigned LegacyTrigger::lineSelection(std::size_t line, std::uint32_t initial) {
    return Unsigned(FG_CCSEL0 + static_cast<std::int32_t>(line), initial,
                    driving(parameters::oneOf<std::uint32_t>(enumerations::LegacyCameraControl),
                            [this, line] { applyLine(line); }));
}

void LegacyTrigger::applyTriggerMode() {
    if (triggerMode_.value() == FREE_RUN) {
        rooms_.state.state().change(TS_ASYNC_STOP);
    }
    for (const ModeTranslation& translation : modeTranslations) {
        if (translation.legacy == triggerMode_.value()) {
            rooms_.state.mode().change(translation.current);
            rooms_.queue.mode().change(FG_OFF);
            rooms_.state.state().change(TS_ACTIVE);
        }
    }
    applyLines();
    applyExsyncOutput();
    applyStrobeOutput();
    applyDigitalOutputs();
}

void LegacyTrigger::applyExposure() {
    for (std::size_t i = 0; i < TriggerTiming::generatorCount; ++i) {
        rooms_.timing.generator(i).width().change(exposure_.value());
    }
}

void LegacyTrigger::applyLine(std::size_t line) {
    rooms_.crossbar.cameraControl(line).change(translate(lines_[line].value()));
}

void LegacyTrigger::applyLines() {
    for (std::size_t line = 0; line < lineCount; ++line) {
        applyLine(line);
    }
}

// Outputs take the same selections as camera-control lines, under names of their own.

void LegacyTrigger::applyExsyncOutput() {
    rooms_.crossbar.output(exsyncOutput).change(translate(CC_EXSYNC));
}

void LegacyTrigger::applyStrobeOutput() {
    rooms_.crossbar.output(strobeOutput).change(translate(CC_STROBEPULSE));
}

void LegacyTrigger::applyDigitalOutputs() {
    for (std::size_t bit = 0; bit < std::size(digitalOutput); ++bit) {
        const bool high = (digitalOutputs_.value() >> bit & 1) != 0;
        rooms_.crossbar.output(digitalOutput[bit]).change(high ? VCC : GND);
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
    throw static_cast<int>(FG_ERROR_NO_TRANSLATION);
}

void LegacyTrigger::switchSet(std::int32_t mode, std::int32_t previous) {
    if (mode == previous) {
        return;
    }
    sets_.mode().keep(FG_OFF); // the defaults of the current set have to be accepted
    applyDefaults();
    resetFields();
    sets_.mode().keep(mode);
}

// What is refused or fails keeps its value; the others follow all the same.
void LegacyTrigger::applyDefaults() {
    const auto set = []<typename T>(parameters::Remembered<T>& parameter, auto value) {
        parameter.change(static_cast<T>(value), OnFailure::swallow);
    };
    auto& [input, timing, crossbar, state, queue, statistics] = rooms_;
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
    triggerMode_.keep(FREE_RUN);
    exsyncOn_.keep(FG_OFF);
    exsyncPolarity_.keep(FG_LOW);
    flashOn_.keep(FG_OFF);
    flashPolarity_.keep(FG_LOW);
    exposure_.keep(initialExposure);
    exsyncDelay_.keep(0.0);
    strobeDelay_.keep(0.0);
    prescaler_.keep(initialPrescaler);
    lines_[0].keep(CC_EXSYNC);
    for (std::size_t line = 1; line < lineCount; ++line) {
        lines_[line].keep(CC_VCC);
    }
    digitalOutputs_.keep(allDigitalOutputs);
}

} // namespace qelm::features
