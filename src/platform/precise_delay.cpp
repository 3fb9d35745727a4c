#include "platform/precise_delay.h"

#include "platform/operating_system.h"

namespace qelm::platform {

void waitPrecise(Duration duration) {
    const std::uint64_t microseconds = duration.nanoseconds / 1000;
    if (duration.seconds == 0 && microseconds == 0) {
        return; // no tick to wait for, nor a millisecond to sleep
    }
    const auto frequency = performanceCounterFrequency();
    if (!frequency) {
        // Wraps after some 50 days, as the system's own sleep does.
        sleepMilliseconds(duration.seconds * 1000 + duration.nanoseconds / 1000000);
        return;
    }
    const std::uint64_t ticks = microseconds * *frequency / 1000000 + duration.seconds * *frequency;
    const std::uint64_t start = performanceCounter();
    while (performanceCounter() - start < ticks) {
    }
}

} // namespace qelm::platform
