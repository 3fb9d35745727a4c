#pragma once

#include "description/information.h"
#include "features/trigger/trigger_sets.h"
#include "parameters/design_access.h"
#include "parameters/dispatch.h"
#include "parameters/parameter_kinds.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>

namespace qelm::features {

class TriggerTiming;

/** Forms pulses: of so many it lets one pass, and gives that one a delay and a width. */
class PulseFormGenerator {
  public:
    using Unsigned = parameters::Remembered<std::uint32_t>;
    using Time = parameters::Remembered<double>; ///< µs; reads are what the design holds

    /** @param timing  holds the rate that the generator has to keep up with */
    PulseFormGenerator(parameters::DesignAccess& design, description::Information& information, const TriggerSets& sets,
                       const TriggerTiming& timing, std::size_t index);

    void enroll(parameters::Dispatch& dispatch);

    Unsigned& downscale() { return downscale_; }
    Unsigned& phase() { return phase_; }
    Time& delay() { return delay_; }
    Time& width() { return width_; }

    /** Whether pulses with that period (µs) find the generator ready, as its delay and width stand in the design. */
    bool fits(double period) const;

  private:
    double readDelay() const;
    double readWidth() const;
    void checkDownscale(std::uint32_t downscale) const;
    Time time(std::int32_t id, double minimum, double maximum, double initial, parameters::DesignParameter target,
              double (PulseFormGenerator::*other)() const);

    parameters::DesignAccess& design_;
    const TriggerSets& sets_;
    const TriggerTiming& timing_;
    parameters::DesignParameter delayTarget_, widthTarget_;
    Unsigned downscale_;
    Unsigned phase_; ///< the pulse that passes, from 0
    Time delay_, width_;
};

/** The rate of the generator, and the pulse form generators that have to keep up with it. */
class TriggerTiming {
  public:
    static constexpr std::size_t generatorCount = 4;

    /** @param rateCounts  whether the rate sets the generator's period; otherwise the period is as short as can be */
    TriggerTiming(parameters::DesignAccess& design, description::Information& information, const TriggerSets& sets,
                  std::function<bool()> rateCounts);

    void enroll(parameters::Dispatch& dispatch);

    parameters::Remembered<double>& rate() { return rate_; }
    PulseFormGenerator& generator(std::size_t index) { return generators_[index]; }

    /** The period of the rate in µs. */
    double period() const;
    /** Writes the period of the remembered rate; it has been checked when it was set. */
    void writeRate();
    void writeShortestPeriod();

  private:
    void checkRate(double rate) const;

    parameters::DesignAccess& design_;
    std::function<bool()> rateCounts_;
    parameters::Remembered<double> rate_; ///< Hz
    std::array<PulseFormGenerator, generatorCount> generators_;
};

} // namespace qelm::features
