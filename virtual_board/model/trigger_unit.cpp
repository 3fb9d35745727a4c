#include "model/trigger_unit.h"

#include <algorithm>

namespace qelm::virtual_board {
namespace {

constexpr std::uint64_t debounceTicks = 3;  // a unit of the debounce is 48 ns
constexpr std::uint64_t generatorTicks = 9; // what the generator takes besides its minimum period
constexpr std::uint32_t counterMask = 65535;

constexpr std::uint32_t exceededBit = 1, fullBit = 2, missingBit = 4;
constexpr std::uint32_t inputBypass = 4; // of the crossbar's selects; the pulse form generators come before it

const std::string triggerPrefix = "Device1_Process1_Trigger_";
const std::string unitPrefix = triggerPrefix + "TriggerCam0_";
const std::string monitoringEvents = triggerPrefix + "Monitoring_MonitoringEvents_Cam0";
const std::string frameEvents = triggerPrefix + "Monitoring_FVALEvents_Cam0_";
const std::string pinEvents = triggerPrefix + "TriggerInput_InputEvents_InputEvents_";

} // namespace

bool TriggerUnit::Downscale::passes() {
    const bool selectedOne = count == *selected;
    count = count + 1 >= *downscale ? 0 : count + 1;
    return selectedOne;
}

void TriggerUnit::Status::set(std::uint32_t newValue) {
    if (newValue != value) {
        value = newValue;
        *word = newValue;
    }
}

TriggerUnit::TriggerUnit(DesignWords& words, EventLog& log)
    : words_(words)
    , log_(log)
    , commands_(words.count(), nullptr)
    , isSetting_(words.count(), false)
    , debounceUnits_(wordNamed(triggerPrefix + "TriggerInput_Debounce8_Prescale_Period"))
    , source_(unitWord("InputSelect_Select_Select"))
    , polarity_(unitWord("InputSelect_Polarity_Invert"))
    , bypassSource_(unitWord("InputSelect_BypassSelect_Select"))
    , external_(unitWord("TriggerMode_SelectExternal_Select"))
    , minimumPeriod_(unitWord("Generators_Generator_MinimumPeriod_Number"))
    , fullValue_(unitWord("Generators_Queue_QueueFullValue_Number"))
    , queueEnabled_(unitWord("Generators_Queue_QueueEnabled_Select"))
    , fromQueue_(unitWord("Generators_EnableQueue_Select"))
    , clearQueue_(unitWord("Generators_ClearQueuePulse_Mode"))
    , sequenceLength_(unitWord("Generators_Sequence_Downscale"))
    , sequenceEnd_(unitWord("Generators_Sequence_SelectedPulse"))
    , onLevel_(unitWord("Hysteresis_OnLevel_Number"))
    , offLevel_(unitWord("Hysteresis_OffLevel_Number"))
    , generatorsEnabled_(unitWord("PulseFormGenerators_Enable_Select"))
    , statisticsSource_(unitWord("OutputStatistics_Select_Select"))
    , eventSource_(unitWord("OutputEvent_Select_Select"))
    , inputDownscale_{unitWord("Downscale_Downscale_Downscale"), unitWord("Downscale_Downscale_SelectedPulse")}
    , generators_{makeGenerator(0), makeGenerator(1), makeGenerator(2), makeGenerator(3)}
    , cameraControl_{makeLine("CameraControl", 0), makeLine("CameraControl", 1), makeLine("CameraControl", 2),
                     makeLine("CameraControl", 3)}
    , outputs_{makeLine("TriggerOutput", 0), makeLine("TriggerOutput", 1), makeLine("TriggerOutput", 2),
               makeLine("TriggerOutput", 3), makeLine("TriggerOutput", 4), makeLine("TriggerOutput", 5),
               makeLine("TriggerOutput", 6), makeLine("TriggerOutput", 7)}
    , levels_{wordNamed(triggerPrefix + "TriggerInput_InputStatus_Status")}
    , inputPulses_{unitWord("InputStatistics_ReadPulses_Status")}
    , period_{unitWord("InputStatistics_ReadPeriod_Status")}
    , longestPeriod_{unitWord("InputStatistics_ReadMin_Status")} // of the lowest frequency
    , shortestPeriod_{unitWord("InputStatistics_ReadMax_Status")}
    , periodOver_{unitWord("Generators_Generator_MaximumReached_Status"), 1}
    , queueLevel_{unitWord("Generators_QueueValue_Status")}
    , outputPulses_{unitWord("OutputStatistics_ReadPulses_Status")}
    , queueStatus_{wordNamed(triggerPrefix + "Monitoring_ReadQueueStatus_Status")}
    , exceededEvent_(log.named(monitoringEvents + "Override"))
    , missingEvent_(log.named(monitoringEvents + "MissingFrame"))
    , highEvent_(log.named(monitoringEvents + "HysteresisOn"))
    , lowEvent_(log.named(monitoringEvents + "HysteresisOff"))
    , outputEvent_(log.named(monitoringEvents + "OutputEvent"))
    , startEvent_(log.named(frameEvents + "FrameStart"))
    , endEvent_(log.named(frameEvents + "FrameEnd")) {
    for (std::size_t i = 0; i < pins_.size(); ++i) {
        pins_[i].rising = log.named(pinEvents + "Pin" + std::to_string(i));
        pins_[i].falling = log.named(pinEvents + "NotPin" + std::to_string(i));
    }
    onCommand("TriggerCam0_TriggerMode_SoftwareTrigger_Mode", &TriggerUnit::trigger);
    onCommand("TriggerCam0_InputStatistics_ClearPulses_Mode", &TriggerUnit::clearInputPulses);
    onCommand("TriggerCam0_InputStatistics_ClearMinMax_Value", &TriggerUnit::clearPeriods);
    onCommand("TriggerCam0_OutputStatistics_ClearPulses_Mode", &TriggerUnit::clearOutputPulses);
    onCommand("TriggerCam0_Downscale_Clear_Mode", &TriggerUnit::clearInputDownscale);
    onCommand("TriggerCam0_Generators_ClearDownscale_Mode", &TriggerUnit::clearSequencer);
    onCommand("TriggerCam0_PulseFormGenerators_PulseFormGenerator0_ClearDownscale_Mode",
              &TriggerUnit::clearGenerator<0>);
    onCommand("TriggerCam0_PulseFormGenerators_PulseFormGenerator1_ClearDownscale_Mode",
              &TriggerUnit::clearGenerator<1>);
    onCommand("TriggerCam0_PulseFormGenerators_PulseFormGenerator2_ClearDownscale_Mode",
              &TriggerUnit::clearGenerator<2>);
    onCommand("TriggerCam0_PulseFormGenerators_PulseFormGenerator3_ClearDownscale_Mode",
              &TriggerUnit::clearGenerator<3>);
    onCommand("Monitoring_ClearOverrideCam0_Mode", &TriggerUnit::clearExceeded);
    onCommand("Monitoring_CheckForMissingFrame_Cam0_ResetMissing_Mode", &TriggerUnit::clearMissing);
    onCommand("Monitoring_ClearMissingFrame_Cam0_Mode", &TriggerUnit::clearMissing);
    runDue();
}

std::uint32_t* TriggerUnit::wordNamed(const std::string& name) {
    if (const DesignParameter* parameter = words_.parameter(name)) {
        isSetting_[parameter->slot] = parameter->writable();
    }
    return words_.at(name);
}

std::uint32_t* TriggerUnit::unitWord(const std::string& name) {
    return wordNamed(unitPrefix + name);
}

TriggerUnit::PulseFormGenerator TriggerUnit::makeGenerator(std::size_t index) {
    const std::string name = "PulseFormGenerators_PulseFormGenerator" + std::to_string(index) + "_";
    return {{unitWord(name + "Downscale_Downscale"), unitWord(name + "Downscale_SelectedPulse")},
            unitWord(name + "Delay_Delay"),
            unitWord(name + "Width_Width")};
}

TriggerUnit::CrossbarLine TriggerUnit::makeLine(const char* group, std::size_t index) {
    const std::string name = std::string(group) + "_Select" + std::to_string(index) + "_";
    return {unitWord(name + "Select_Select"), unitWord(name + "Polarity_Invert")};
}

void TriggerUnit::onCommand(const char* name, Command command) {
    const DesignParameter* parameter = words_.parameter(triggerPrefix + name);
    if (parameter != nullptr && parameter->kind == Kind::Command) {
        commands_[parameter->slot] = command;
    }
}

void TriggerUnit::written(const DesignParameter& parameter) {
    if (!parameter.holdsWord()) {
        return;
    }
    if (const Command command = commands_[parameter.slot]) {
        (this->*command)();
    } else if (!isSetting_[parameter.slot]) {
        return;
    }
    runDue();
}

void TriggerUnit::setPin(std::size_t pin, bool level) {
    Pin& changed = pins_[pin];
    if (changed.raw != level) {
        changed.raw = level;
        changed.settles = level == changed.debounced ? never : now_ + *debounceUnits_ * debounceTicks;
    }
    runDue();
}

void TriggerUnit::advance(std::uint64_t nanoseconds) {
    const std::uint64_t sum = nanosecondsLeft_ + nanoseconds;
    const Ticks target = now_ + sum / tickNanoseconds;
    nanosecondsLeft_ = sum % tickNanoseconds;
    for (Ticks next = nextTime(); next <= target; next = nextTime()) {
        now_ = std::max(now_, next);
        runDue();
    }
    now_ = target;
    publish();
}

std::uint64_t TriggerUnit::nanoseconds() const {
    return now_ * tickNanoseconds + nanosecondsLeft_;
}

std::uint64_t TriggerUnit::nextNanoseconds() const {
    const Ticks next = nextTime();
    return next == never ? never : std::max(next, now_) * tickNanoseconds;
}

void TriggerUnit::awaitCamera(bool connected) {
    if (cameraConnected_ != connected) { // else the pulse that has been given still waits for its frame
        cameraConnected_ = connected;
        frameAwaited_ = false;
    }
}

void TriggerUnit::frameStarted() {
    frameAwaited_ = false;
    raise(startEvent_);
}

void TriggerUnit::frameEnded() {
    raise(endEvent_);
}

TriggerUnit::Ticks TriggerUnit::nextTime() const {
    Ticks next = generatorRuns() && pulseIsDue() ? periodEnd() : never;
    for (const Pin& pin : pins_) {
        next = std::min(next, pin.settles);
    }
    for (const PulseFormGenerator& generator : generators_) {
        next = std::min({next, generator.rises, generator.falls});
    }
    return next;
}

void TriggerUnit::runDue() {
    do {
        for (std::size_t i = 0; i < generators_.size(); ++i) {
            movePulse(i);
        }
        for (Pin& pin : pins_) {
            if (pin.settles <= now_) {
                debounce(pin);
            }
        }
        followInput();
        runGenerator();
    } while (nextTime() <= now_); // what takes no time follows at once, such as a pulse without delay
    updateLines();
    publish();
}

void TriggerUnit::movePulse(std::size_t index) {
    PulseFormGenerator& generator = generators_[index];
    if (generator.falls <= now_) {
        generator.falls = never;
        generator.level = false;
    }
    if (generator.rises > now_) {
        return;
    }
    generator.rises = never;
    generator.falls = now_ + std::max<Ticks>(*generator.width, 1);
    generator.level = true;
    if (index == 0 && cameraConnected_) {
        if (frameAwaited_) {
            missing_ = true;
            ++missingFrames_;
            raise(missingEvent_);
        }
        frameAwaited_ = true;
    }
    if (index == *statisticsSource_) {
        outputPulses_.set((outputPulses_.value + 1) & counterMask);
    }
    if (index == *eventSource_) {
        raise(outputEvent_);
    }
}

void TriggerUnit::debounce(Pin& pin) {
    pin.settles = never;
    pin.debounced = pin.raw;
    raise(pin.debounced ? pin.rising : pin.falling);
}

void TriggerUnit::followInput() {
    const bool level = pins_[*source_ % pinCount].debounced != (*polarity_ != 0);
    const bool rises = level && !input_;
    input_ = level;
    if (rises) {
        inputPulse();
    }
}

void TriggerUnit::inputPulse() {
    inputPulses_.set((inputPulses_.value + 1) & counterMask);
    if (lastInput_ != never) {
        const auto period = static_cast<std::uint32_t>(std::min<Ticks>(now_ - lastInput_, UINT32_MAX));
        period_.set(period);
        longestPeriod_.set(std::max(longestPeriod_.value, period));
        shortestPeriod_.set(shortestPeriod_.value == 0 ? period : std::min(shortestPeriod_.value, period));
    }
    lastInput_ = now_;
    if (inputDownscale_.passes() && *external_ != 0) {
        trigger();
    }
}

/** A trigger from outside or from software: worked off at once, queued, or lost. */
void TriggerUnit::trigger() {
    if (*fromQueue_ == 0 || !generatorRuns()) {
        return;
    }
    const bool idle = queued_ == 0 && !sequenceRuns_ && periodIsOver();
    if (!idle && (*queueEnabled_ == 0 || queued_ >= *fullValue_)) {
        exceeded_ = true;
        raise(exceededEvent_);
        return;
    }
    ++queued_;
    runGenerator();
    if (queued_ >= *onLevel_ && !highLevel_) {
        highLevel_ = true;
        raise(highEvent_);
    }
}

bool TriggerUnit::generatorRuns() const {
    return *generatorsEnabled_ != 0 && *clearQueue_ == 0;
}

bool TriggerUnit::pulseIsDue() const {
    return *fromQueue_ == 0 || sequenceRuns_ || queued_ > 0;
}

TriggerUnit::Ticks TriggerUnit::periodEnd() const {
    return periodStarted_ ? *periodStarted_ + *minimumPeriod_ + generatorTicks : 0;
}

void TriggerUnit::runGenerator() {
    if (*clearQueue_ != 0) {
        queued_ = 0;
        clearSequencer();
        periodStarted_.reset();
    }
    if (generatorRuns() && pulseIsDue() && periodIsOver()) {
        if (*fromQueue_ != 0) {
            sequencePulse();
        }
        periodStarted_ = now_;
        formPulse();
    }
    if (highLevel_ && queued_ <= *offLevel_) {
        highLevel_ = false;
        raise(lowEvent_);
    }
}

/** Counts a pulse; the selected one of the sequence is a trigger's last. */
void TriggerUnit::sequencePulse() {
    if (!sequenceRuns_) {
        --queued_;
    }
    sequence_ = sequence_ >= *sequenceLength_ ? 1 : sequence_ + 1;
    sequenceRuns_ = sequence_ != *sequenceEnd_;
}

void TriggerUnit::formPulse() {
    for (PulseFormGenerator& generator : generators_) {
        // A pulse that comes while the one before is still being delayed is lost.
        if (generator.downscale.passes() && generator.rises == never) {
            generator.rises = now_ + *generator.delay;
        }
    }
}

void TriggerUnit::updateLines() {
    for (CrossbarLine& line : cameraControl_) {
        updateLine(line);
    }
    for (CrossbarLine& line : outputs_) {
        updateLine(line);
    }
}

void TriggerUnit::updateLine(CrossbarLine& line) {
    bool level = false;
    if (*line.select < generators_.size()) {
        level = generators_[*line.select].level;
    } else if (*line.select == inputBypass) {
        level = pins_[*bypassSource_ % pinCount].debounced;
    }
    level = level != (*line.invert != 0);
    line.line.pulses += level && !line.line.level ? 1 : 0;
    line.line.level = level;
}

void TriggerUnit::publish() {
    std::uint32_t levels = 0;
    for (std::size_t i = 0; i < pins_.size(); ++i) {
        levels |= static_cast<std::uint32_t>(pins_[i].debounced) << i;
    }
    levels_.set(levels);
    periodOver_.set(periodIsOver() ? 1 : 0);
    queueLevel_.set(queued_);
    const bool full = *queueEnabled_ != 0 && queued_ >= *fullValue_;
    queueStatus_.set((exceeded_ ? exceededBit : 0) | (full ? fullBit : 0) | (missing_ ? missingBit : 0));
}

void TriggerUnit::clearInputPulses() {
    inputPulses_.set(0);
}

void TriggerUnit::clearPeriods() {
    longestPeriod_.set(0);
    shortestPeriod_.set(0);
}

void TriggerUnit::clearOutputPulses() {
    outputPulses_.set(0);
}

void TriggerUnit::clearExceeded() {
    exceeded_ = false;
}

void TriggerUnit::clearMissing() {
    missing_ = false;
    frameAwaited_ = false;
}

void TriggerUnit::clearInputDownscale() {
    inputDownscale_.count = 0;
}

void TriggerUnit::clearSequencer() {
    sequence_ = 0;
    sequenceRuns_ = false;
}

template <std::size_t index>
void TriggerUnit::clearGenerator() {
    generators_[index].downscale.count = 0;
}

} // namespace qelm::virtual_board
