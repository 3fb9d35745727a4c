#include "features/trigger/trigger_conversions.h"

namespace qelm::features {
namespace {

constexpr std::uint32_t generatorTicks = 9;
constexpr double ticksPerNanosecond = 0.0625;
constexpr double nanosecondsPerDebounce = 48;

} // namespace

std::uint32_t toRegister(double value) {
    constexpr double limit = 9223372036854775808.0; // 2^63
    if (!(value >= -limit && value < limit)) {
        return 0;
    }
    return static_cast<std::uint32_t>(static_cast<std::int64_t>(value));
}

// The formulas stand as callers know their results, down to the last bit: 1000 Hz gives 62499 ticks, since the quotient
// of doubles lies just below 62500.

std::uint32_t minimumPeriodOfRate(double rate) {
    return toRegister(1 / (rate * tickSeconds)) - generatorTicks;
}

double reportedRate(double rate) {
    return 1 / ((1 / (rate * tickSeconds)) * tickSeconds);
}

double periodOfRate(double rate) {
    return 1000000 / rate;
}

std::uint32_t ticksOfTime(double microseconds) {
    return toRegister(microseconds * 1000 * ticksPerNanosecond + 0.5);
}

double timeOfTicks(std::uint32_t ticks) {
    return ticks * 16.0 / 1000;
}

std::uint32_t debounceOfTime(double microseconds) {
    return toRegister(microseconds * 1000 / nanosecondsPerDebounce + 0.5);
}

double timeOfDebounce(std::uint32_t units) {
    return units * 16.0 * 3 / 1000;
}

double frequencyOfPeriod(std::uint32_t ticks) {
    return 1 / (ticks * tickSeconds);
}

} // namespace qelm::features
