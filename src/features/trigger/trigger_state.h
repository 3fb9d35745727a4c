#pragma once

#include "features/trigger/trigger_crossbar.h"
#include "features/trigger/trigger_sets.h"
#include "features/trigger/trigger_timing.h"
#include "parameters/design_access.h"
#include "parameters/dispatch.h"
#include "parameters/parameter_kinds.h"

#include <cstdint>

namespace qelm::features {

/**
 * What makes the unit trigger (area trigger mode) and whether it does (trigger state). A change of either runs the
 * transition that leads from the old pair to the new one; when a write of it fails, the old value comes back.
 */
class TriggerState {
  public:
    using Unsigned = parameters::Cached<std::uint32_t>;

    TriggerState(parameters::Dispatch& dispatch, parameters::DesignAccess& design, TriggerSets& sets,
                 TriggerTiming& timing, TriggerCrossbar& crossbar);

    Unsigned& mode() { return mode_; }
    const Unsigned& mode() const { return mode_; }
    Unsigned& state() { return state_; }
    const Unsigned& state() const { return state_; }

    /** Stops the generator and empties the queue. */
    void stopGenerator();

    /** What transitions are made of. */
    enum class Step : std::uint8_t {
        none,
        resetCounters,
        outputsOff,
        outputsOn,
        generatorOff,
        restartGenerator,
        restartQueue,
        clearInputDownscale,
        clearSequencer,
        deselectExternal,
        selectExternal,
    };

  private:
    struct Pair {
        std::uint32_t mode;
        std::uint32_t state;
    };

    void change(Pair from, Pair to);
    void changeMode(std::uint32_t mode, std::uint32_t previous);
    void changeState(std::uint32_t state, std::uint32_t previous);
    void take(Step step);
    void startGenerator(bool withQueue);

    parameters::DesignAccess& design_;
    TriggerTiming& timing_;
    TriggerCrossbar& crossbar_;
    Unsigned mode_;
    Unsigned state_;
};

} // namespace qelm::features
