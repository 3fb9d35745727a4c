#pragma once

#include "model/acquisition/acquisition.h"
#include "model/design.h"
#include "model/design_values.h"
#include "model/design_words.h"
#include "model/libraries/runtime_parameters.h"
#include "model/logs/event_log.h"
#include "model/logs/signal_log.h"
#include "model/trigger_unit.h"

#include <cstdint>
#include <memory>

namespace qelm::virtual_board {

/**
 * The parts of a board, and what concerns several of them: writes to the design reach its units, and virtual time moves
 * them together. Not synchronised: a VirtualBoard hands it out locked.
 */
class Board {
  public:
    static constexpr std::uint64_t longestAdvance = 3600 * nanosecondsPerSecond;

    explicit Board(const std::shared_ptr<const Design>& design);
    Board(const Board&) = delete;
    Board& operator=(const Board&) = delete;

    /** Loads a design. The one that the board already runs is left running, with its values. */
    void load(const std::shared_ptr<const Design>& design);
    const std::shared_ptr<const Design>& design() const { return running_->design; }

    DesignValues& values() { return running_->values; }
    RuntimeValues& runtime() { return runtime_; }
    const TriggerUnit& trigger() const { return running_->trigger; }
    const Acquisition& acquisition() const { return running_->acquisition; }
    EventLog& events() { return running_->events; }
    const SignalLog& signals() const { return signals_; }

    /** Starts (with the values of all signals now) or stops recording. */
    void recordSignals(bool record);
    /** Drives a trigger input pin, below TriggerUnit::pinCount. */
    void setInput(std::size_t pin, bool level);
    /** Lets virtual time pass. */
    void advance(std::uint64_t nanoseconds);

    /** @param camera  null: nothing is connected any more */
    void connectCamera(std::shared_ptr<const Camera> camera);
    void setTransferRate(std::uint64_t bytesPerSecond) { running_->acquisition.setTransferRate(bytesPerSecond); }
    /** @return whether it could start: one acquisition runs at a time */
    bool acquire(const std::shared_ptr<FrameMemory>& memory, std::int64_t pictures);
    void stopAcquiring();
    /** Lets virtual time pass until this picture of the acquisition has come, at most so long. */
    void waitForPicture(std::int64_t picture, std::uint64_t nanoseconds);
    /** Ends an acquisition into this memory, if one runs. */
    void forget(const FrameMemory& memory);

  private:
    /** What stands and falls with the design; each part refers to those before it. */
    struct Running {
        Running(Board& board, const std::shared_ptr<const Design>& loaded);

        std::shared_ptr<const Design> design;
        DesignValues values;
        EventLog events;
        DesignWords words;
        TriggerUnit trigger;
        SimulatorControl simulator;
        Acquisition acquisition;
    };

    void powerOn(const std::shared_ptr<const Design>& design);
    template <typename IsDone>
    void passTime(std::uint64_t nanoseconds, IsDone&& isDone);
    void logSignals();

    RuntimeValues runtime_;
    SignalLog signals_;
    std::shared_ptr<const Camera> camera_;
    std::unique_ptr<Running> running_; // never null
};

} // namespace qelm::virtual_board
