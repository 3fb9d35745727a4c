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

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>

namespace qelm::features {

/** What the legacy set drives. */
struct TriggerParts {
    TriggerTiming& timing;
    TriggerCrossbar& crossbar;
    TriggerState& state;
    TriggerQueue& queue;
};

/**
 * The trigger parameters of older programs. The exsync pulse is pulse form generator 0 and comes out at output 0, the
 * strobe pulse is generator 1 and comes out at output 1; the two digital outputs are trigger outputs 3 and 7.
 */
class LegacyTrigger {
  public:
    using Unsigned = parameters::Cached<std::uint32_t>;
    using Double = parameters::Cached<double>;

    LegacyTrigger(parameters::Dispatch& dispatch, TriggerSets& sets, TriggerParts parts);

    /** Whether the rate sets the generator's period while the legacy set is in force. */
    bool isGrabberControlled() const { return triggerMode_.value() == GRABBER_CONTROLLED; }
    /** Brings both sets to their defaults and puts the one in force that the mode says. */
    void switchSet(std::int32_t mode, std::int32_t previous);

  private:
    /** A check that needs the legacy set, and an action that may set current parameters. */
    template <typename Action>
    Unsigned::Rules rulesOf(const parameters::Row& row, Action action);
    Unsigned driving(const parameters::RowOf<std::uint32_t>& row, void (LegacyTrigger::*apply)());
    Double drivingDelay(const parameters::RowOf<double>& row, std::size_t generator);

    void applyTriggerMode();
    void applyExposure();
    void applyLine(std::size_t line);
    void applyLines();
    void applyExsync();
    void applyStrobe();
    void applyExsyncOutput();
    void applyStrobeOutput();
    void applyDigitalOutputs();
    std::uint32_t translate(std::uint32_t selection) const;
    void applyDefaults();
    void resetFields();

    parameters::Dispatch& dispatch_;
    TriggerSets& sets_;
    TriggerParts parts_;
    Unsigned triggerMode_;
    Unsigned exsyncOn_, exsyncPolarity_;
    Unsigned flashOn_, flashPolarity_;
    Unsigned exposure_;                ///< µs
    Double exsyncDelay_, strobeDelay_; ///< µs
    Double prescaler_;                 ///< µs; kept for older programs, times are in µs here
    std::deque<Unsigned> lines_;       // a deque keeps addresses
    Unsigned digitalOutputs_;
};

} // namespace qelm::features
