#pragma once

#include <cstdint>

namespace qelm::platform {

struct Duration {
    std::uint32_t seconds = 0;
    std::uint32_t nanoseconds = 0;
};

/**
 * Waits in whole microseconds, without giving the processor away: short trigger delays must not be stretched by the
 * scheduler. Without a performance counter it sleeps whole milliseconds instead.
 */
void waitPrecise(Duration duration);

} // namespace qelm::platform
