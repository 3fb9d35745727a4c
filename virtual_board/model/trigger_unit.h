#pragma once

#include "model/design_words.h"
#include "model/logs/event_log.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <vector>

namespace qelm::virtual_board {

/**
 * The design's trigger unit in virtual time: debounced pins, input downscale, queue, sequencer, generator with its
 * minimum period, pulse form generators and crossbar, with their statistics and events. It follows the board's words
 * for its settings and keeps its status words up to date; a status word that somebody else has set stays until the
 * unit's own value changes. While a camera is awaited, a frame that has not begun when the next pulse of generator 0
 * comes is missing.
 *
 * Not synchronised; the board's lock covers it.
 */
class TriggerUnit {
  public:
    static constexpr std::size_t pinCount = 8;
    static constexpr std::size_t generatorCount = 4;
    static constexpr std::size_t cameraControlCount = 4;
    static constexpr std::size_t outputCount = 8;

    /** Both stay as long as the unit lives. */
    TriggerUnit(DesignWords& words, EventLog& log);
    TriggerUnit(const TriggerUnit&) = delete;
    TriggerUnit& operator=(const TriggerUnit&) = delete;

    /** A parameter of the design was written; of a command, a pulse was issued. */
    void written(const DesignParameter& parameter);
    void setPin(std::size_t pin, bool level);
    void advance(std::uint64_t nanoseconds);
    std::uint64_t nanoseconds() const;
    /** When something happens next by itself, in ns of virtual time; never when nothing will. */
    std::uint64_t nextNanoseconds() const;

    /** Whether there is a camera whose frames can be missing. */
    void awaitCamera(bool connected);
    void frameStarted();
    void frameEnded();
    /** Since power-on. */
    std::uint64_t missingFrames() const { return missingFrames_; }

    struct Line {
        bool level = false;
        std::uint64_t pulses = 0; /**< rising edges so far */
    };
    const Line& cameraControl(std::size_t line) const { return cameraControl_[line].line; }
    const Line& output(std::size_t line) const { return outputs_[line].line; }

    bool input(std::size_t pin) const { return pins_[pin].debounced; }
    bool generated(std::size_t generator) const { return generators_[generator].level; }
    std::uint32_t queued() const { return queued_; }

    static constexpr std::uint64_t never = std::numeric_limits<std::uint64_t>::max();

  private:
    using Ticks = std::uint64_t; // of 16 ns, since power-on

    struct Pin {
        bool raw = false;
        bool debounced = false;
        Ticks settles = never; // when the raw level has been stable for long enough
        std::size_t rising = EventLog::noEvent, falling = EventLog::noEvent;
    };
    struct Downscale {
        const std::uint32_t* downscale;
        const std::uint32_t* selected;
        std::uint32_t count = 0;

        /** Whether this pulse is the one that passes. */
        bool passes();
    };
    struct PulseFormGenerator {
        Downscale downscale;
        const std::uint32_t* delay;
        const std::uint32_t* width;
        Ticks rises = never, falls = never;
        bool level = false;
    };
    struct CrossbarLine {
        const std::uint32_t* select;
        const std::uint32_t* invert;
        Line line{};
    };
    /** A status word, written when the value changes. */
    struct Status {
        std::uint32_t* word;
        std::uint32_t value = 0;

        void set(std::uint32_t newValue);
    };
    using Command = void (TriggerUnit::*)();

    std::uint32_t* wordNamed(const std::string& name);
    std::uint32_t* unitWord(const std::string& name);
    PulseFormGenerator makeGenerator(std::size_t index);
    CrossbarLine makeLine(const char* group, std::size_t index);
    void onCommand(const char* name, Command command);

    Ticks nextTime() const;
    /** Does everything that is due now. */
    void runDue();
    void movePulse(std::size_t index);
    void debounce(Pin& pin);
    void followInput();
    void inputPulse();
    void trigger();
    void runGenerator();
    void formPulse();
    void updateLines();
    void updateLine(CrossbarLine& line);
    void publish();
    void raise(std::size_t event) { log_.raise(event, now_ * tickNanoseconds); }

    bool generatorRuns() const;
    bool pulseIsDue() const;
    /** The generator counts ticks and compares them with the register, so that a new period holds at once. */
    Ticks periodEnd() const;
    bool periodIsOver() const { return now_ >= periodEnd(); }
    void sequencePulse();

    void clearInputPulses();
    void clearPeriods();
    void clearOutputPulses();
    void clearExceeded();
    void clearMissing();
    void clearInputDownscale();
    void clearSequencer();
    template <std::size_t index>
    void clearGenerator();

    static constexpr std::uint64_t tickNanoseconds = 16;

    DesignWords& words_;
    EventLog& log_;
    std::vector<Command> commands_; // by slot
    std::vector<bool> isSetting_;   // by slot
    Ticks now_ = 0;
    std::uint64_t nanosecondsLeft_ = 0; // of a tick that is not over

    const std::uint32_t *debounceUnits_, *source_, *polarity_, *bypassSource_, *external_;
    const std::uint32_t *minimumPeriod_, *fullValue_, *queueEnabled_, *fromQueue_, *clearQueue_;
    const std::uint32_t *sequenceLength_, *sequenceEnd_;
    const std::uint32_t *onLevel_, *offLevel_, *generatorsEnabled_, *statisticsSource_, *eventSource_;
    std::array<Pin, pinCount> pins_{};
    bool input_ = false;
    Ticks lastInput_ = never;
    Downscale inputDownscale_;
    std::uint32_t queued_ = 0;
    std::uint32_t sequence_ = 0;         // pulses of the sequence so far
    bool sequenceRuns_ = false;          // the trigger that left the queue last has more pulses to come
    std::optional<Ticks> periodStarted_; // with the latest pulse; nothing while no period runs
    bool exceeded_ = false, highLevel_ = false;
    bool cameraConnected_ = false, frameAwaited_ = false, missing_ = false;
    std::uint64_t missingFrames_ = 0;
    std::array<PulseFormGenerator, generatorCount> generators_;
    std::array<CrossbarLine, cameraControlCount> cameraControl_;
    std::array<CrossbarLine, outputCount> outputs_;
    Status levels_, inputPulses_, period_, longestPeriod_, shortestPeriod_, periodOver_, queueLevel_, outputPulses_,
        queueStatus_;
    std::size_t exceededEvent_, missingEvent_, highEvent_, lowEvent_, outputEvent_, startEvent_, endEvent_;
};

} // namespace qelm::virtual_board
