#include "features/trigger/legacy_trigger.h"

#include <iterator>

namespace qelm::features {
namespace {

namespace rows = parameters::rows;
using parameters::TriggerSet;

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

constexpr const parameters::RowOf<std::uint32_t>* cameraControlRows[] = {&rows::FG_CCSEL0, &rows::FG_CCSEL1,
                                                                         &rows::FG_CCSEL2, &rows::FG_CCSEL3};

} // namespace

LegacyTrigger::LegacyTrigger(parameters::Dispatch& dispatch, TriggerSets& sets, TriggerParts parts)
    : dispatch_(dispatch)
    , sets_(sets)
    , parts_(parts)
    , triggerMode_(driving(rows::FG_TRIGGERMODE, &LegacyTrigger::applyTriggerMode))
    , exsyncOn_(driving(rows::FG_EXSYNCON, &LegacyTrigger::applyExsync))
    , exsyncPolarity_(driving(rows::FG_EXSYNCPOLARITY, &LegacyTrigger::applyExsync))
    , flashOn_(driving(rows::FG_FLASHON, &LegacyTrigger::applyStrobe))
    , flashPolarity_(driving(rows::FG_FLASH_POLARITY, &LegacyTrigger::applyStrobe))
    , exposure_(driving(rows::FG_EXPOSURE, &LegacyTrigger::applyExposure))
    , exsyncDelay_(drivingDelay(rows::FG_EXSYNCDELAY, exsyncGenerator))
    , strobeDelay_(drivingDelay(rows::FG_STROBEPULSEDELAY, strobeGenerator))
    , prescaler_(dispatch, rows::FG_PRESCALER, {.check = sets.legacy(rows::FG_PRESCALER)})
    , digitalOutputs_(driving(rows::FG_DIGIO_OUTPUT, &LegacyTrigger::applyDigitalOutputs)) {
    for (const auto* row : cameraControlRows) {
        const std::size_t line = lines_.size();
        lines_.emplace_back(dispatch, *row, rulesOf(*row, [this, line] { applyLine(line); }));
    }
}

template <typename Action>
LegacyTrigger::Unsigned::Rules LegacyTrigger::rulesOf(const parameters::Row& row, Action action) {
    return {.check = sets_.legacy(row), .apply = [this, action](auto...) {
                const TriggerSets::Applying applying(sets_);
                action();
            }};
}

LegacyTrigger::Unsigned LegacyTrigger::driving(const parameters::RowOf<std::uint32_t>& row,
                                               void (LegacyTrigger::*apply)()) {
    return Unsigned(dispatch_, row, rulesOf(row, [this, apply] { (this->*apply)(); }));
}

LegacyTrigger::Double LegacyTrigger::drivingDelay(const parameters::RowOf<double>& row, std::size_t generator) {
    return Double(dispatch_, row, {.check = sets_.legacy(row), .apply = [this, generator](double time, auto) {
                                       const TriggerSets::Applying applying(sets_);
                                       parts_.timing.generator(generator).delay().set(time);
                                   }});
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
    for (const parameters::Row* row : parameters::orders::initialSettings) {
        if ((row->triggerSet == TriggerSet::current || row->triggerSet == TriggerSet::shared) &&
            row->use == parameters::Use::settable) {
            parameters::skipRefusal([&] { dispatch_.at(row->id).set(parameters::initialValue(*row)); });
        }
    }
}

void LegacyTrigger::resetFields() {
    for (const parameters::Row* row : parameters::orders::registry) {
        if (row->triggerSet == TriggerSet::legacy) {
            dispatch_.at(row->id).store(parameters::initialValue(*row));
        }
    }
}

} // namespace qelm::features
