#pragma once

#include "features/trigger/trigger_crossbar.h"
#include "features/trigger/trigger_input.h"
#include "features/trigger/trigger_queue.h"
#include "features/trigger/trigger_sets.h"
#include "features/trigger/trigger_state.h"
#include "features/trigger/trigger_statistics.h"
#include "features/trigger/trigger_timing.h"
#include "parameters/dispatch.h"
#include "parameters/parameter_kinds.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>

namespace qelm::features {

/** What the legacy set drives. */
struct TriggerRooms {
    TriggerInput& input;
    TriggerTiming& timing;
    TriggerCrossbar& crossbar;
    TriggerState& state;
    TriggerQueue& queue;
    TriggerStatistics& statistics;
};

/**
 * The trigger parameters of older programs. The exsync pulse is pulse form generator 0 and comes out at output 0, the
 * strobe pulse is generator 1 and comes out at output 1; the two digital outputs are trigger outputs 3 and 7.
 */
class LegacyTrigger {
  public:
    using Unsigned = parameters::Remembered<std::uint32_t>;
    using Double = parameters::Remembered<double>;

    LegacyTrigger(TriggerSets& sets, TriggerRooms rooms);

    void enroll(parameters::Dispatch& dispatch);

    /** Whether the rate sets the generator's period while the legacy set is in force. */
    bool isGrabberControlled() const { return triggerMode_.value() == GRABBER_CONTROLLED; }
    /** Brings both sets to their defaults and puts the one in force that the mode says. */
    void switchSet(std::int32_t mode, std::int32_t previous);

  private:
    static constexpr std::size_t lineCount = TriggerCrossbar::cameraControlCount;

    /** A check that needs the legacy set, and an action that may set current parameters. */
    template <typename Check, typename Action>
    typename Unsigned::Rules driving(Check check, Action action);
    Unsigned onOff(std::int32_t id, void (LegacyTrigger::*applyOutput)());
    Unsigned polarity(std::int32_t id, void (LegacyTrigger::*applyOutput)());
    Double delay(std::int32_t id, std::size_t generator);
    Unsigned lineSelection(std::size_t line, std::uint32_t initial);

    void applyTriggerMode();
    void applyExposure();
    void applyLine(std::size_t line);
    void applyLines();
    void applyExsyncOutput();
    void applyStrobeOutput();
    void applyDigitalOutputs();
    std::uint32_t translate(std::uint32_t selection) const;
    void applyDefaults();
    void resetFields();

    TriggerSets& sets_;
    TriggerRooms rooms_;
    Unsigned triggerMode_;
    Unsigned exsyncOn_, exsyncPolarity_;
    Unsigned flashOn_, flashPolarity_;
    Unsigned exposure_;                ///< µs
    Double exsyncDelay_, strobeDelay_; ///< µs
    Double prescaler_;                 ///< µs; kept for older programs, times are told in µs here
    std::array<Unsigned, lineCount> lines_;
    Unsigned digitalOutputs_;
};

} // namespace qelm::features
