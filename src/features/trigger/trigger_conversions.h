#pragma once

#include <cstdint>

/**
 * Times and rates of the trigger unit as its registers hold them: in clock ticks of 16 ns, the debounce in units of
 * three. Times are in microseconds, rates in hertz.
 */
namespace qelm::features {

inline constexpr double tickSeconds = 16e-9;

/**
 * A double as a 32-bit register takes it: truncated toward zero, then the lower 32 bits. What no 64-bit integer holds,
 * NaN included, gives 0, so that values which came in without a check convert to something defined.
 */
std::uint32_t toRegister(double value);

/** The minimum period of a rate: its period but for the nine ticks that the generator itself takes. */
std::uint32_t minimumPeriodOfRate(double rate);
/** The rate as gets answer it: through its period and back, without truncation. */
double reportedRate(double rate);
double periodOfRate(double rate);

std::uint32_t ticksOfTime(double microseconds);
double timeOfTicks(std::uint32_t ticks);

std::uint32_t debounceOfTime(double microseconds);
double timeOfDebounce(std::uint32_t units);

/** Infinite for a period of 0, which the statistics hold until a period has been measured. */
double frequencyOfPeriod(std::uint32_t ticks);

} // namespace qelm::features
