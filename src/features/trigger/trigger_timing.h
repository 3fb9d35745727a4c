#pragma once

#include "description/information.h"
#include "features/trigger/trigger_sets.h"
#include "parameters/design_access.h"
#include "parameters/dispatch.h"
#include "parameters/parameter_kinds.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>

namespace qelm::features {

class TriggerTiming;

/** Forms pulses: of so many it lets one pass, and gives that one a delay and a width. */
class PulseFormGenerator {
  public:
    using Unsigned = parameters::Cached<std::uint32_t>;
    using Time = parameters::Cached<double>; ///< µs; reads are what the design holds

    /** What one of the generators is called. */
    struct Names {
        const parameters::RowOf<std::uint32_t>& downscaleRow;
        const parameters::RowOf<std::uint32_t>& phaseRow;
        const parameters::RowOf<double>& delayRow;
        const parameters::RowOf<double>& widthRow;
        parameters::DesignParameter downscale, phase, delay, width, clearDownscale;
    };

    /** @param timing  holds the rate that the generator has to keep up with */
    PulseFormGenerator(parameters::Dispatch& dispatch, parameters::DesignAccess& design,
                       description::Information& information, const TriggerSets& sets, const TriggerTiming& timing,
                       const Names& names);

    Time& delay() { return delay_; }
    Time& width() { return width_; }

    /** Whether pulses with that period (µs) find the generator ready, as its delay and width stand in the design. */
    bool fits(double period) const;
    void clearDownscale() { design_.pulse(names_.clearDownscale); }

  private:
    double readDelay() const { return readTime(names_.delay); }
    double readWidth() const { return readTime(names_.width); }
    double readTime(parameters::DesignParameter target) const;
    void writeDelay(double time) { writeTime(names_.delay, time); }
    void writeWidth(double time) { writeTime(names_.width, time); }
    void writeTime(parameters::DesignParameter target, double time);
    void checkDownscale(std::uint32_t downscale) const;
    void checkPhase(std::uint32_t phase) const;
    void checkDelay(double delay) const { checkTime(delay, names_.width); }
    void checkWidth(double width) const { checkTime(width, names_.delay); }
    void checkTime(double time, parameters::DesignParameter other) const;

    parameters::DesignAccess& design_;
    const TriggerTiming& timing_;
    const Names& names_;
    Unsigned downscale_;
    Unsigned phase_; ///< the pulse that passes, from 0
    Time delay_, width_;
};

/** The rate of the generator, and the pulse form generators that have to keep up with it. */
class TriggerTiming {
  public:
    static constexpr std::size_t generatorCount = 4;

    /** @param rateCounts  whether the rate sets the generator's period; otherwise the period is as short as can be */
    TriggerTiming(parameters::Dispatch& dispatch, parameters::DesignAccess& design,
                  description::Information& information, const TriggerSets& sets, std::function<bool()> rateCounts);

    PulseFormGenerator& generator(std::size_t index) { return generators_[index]; }

    /** The period of the rate in µs. */
    double period() const;
    /** Writes the period of the cached rate; it has been checked when it was set. */
    void writeRate();
    void writeShortestPeriod();
    /** Has every generator start counting from 0. */
    void clearDownscales();

  private:
    void checkRate(double rate) const;

    parameters::DesignAccess& design_;
    std::function<bool()> rateCounts_;
    parameters::Cached<double> rate_;           ///< Hz
    std::deque<PulseFormGenerator> generators_; // a deque keeps addresses
};

} // namespace qelm::features
