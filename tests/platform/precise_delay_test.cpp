#include "platform/precise_delay.h"

#include "platform/operating_system.h"

#include <gtest/gtest.h>

namespace qelm::test {
namespace {

using namespace platform;

TEST(PreciseDelay, WaitsAtLeastTheWholeMicroseconds) {
    const auto frequency = performanceCounterFrequency();
    ASSERT_TRUE(frequency);
    for (const std::uint32_t nanoseconds : {1000U, 2500999U}) {
        const std::uint64_t start = performanceCounter();
        waitPrecise({.seconds = 0, .nanoseconds = nanoseconds});
        EXPECT_GE(performanceCounter() - start, nanoseconds / 1000 * *frequency / 1000000) << nanoseconds;
    }
}

TEST(PreciseDelay, SleepsAtLeastSoLong) {
    const std::uint64_t start = performanceCounter();
    sleepMilliseconds(3);
    EXPECT_GE(performanceCounter() - start,
              2 * *performanceCounterFrequency() / 1000); // the system's own clock is coarser
}

} // namespace
} // namespace qelm::test
