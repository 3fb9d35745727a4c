#pragma once

#include "qelm/host/frame.h"

#include <string>

namespace qelm::tool {

/** What the pixels of a picture are like, in its own counts. */
struct Levels {
    unsigned minimum = 65535, maximum = 0;
    double mean = 0, deviation = 0;

    /** How much the pixels differ from each other, in percent of their mean; 0 for a black picture. */
    double nonUniformity() const { return mean > 0 ? deviation / mean * 100 : 0; }
    /** "2 to 255, mean 120.51, non-uniformity 3.20 %" */
    std::string text() const;
};

Levels levelsOf(const host::Frame& frame);

/** Calls use(value) for every pixel, row by row. */
template <class Use>
void forEachPixel(const host::Frame& frame, Use&& use) {
    const std::span<const std::byte> bytes = frame.bytes();
    if (frame.format().bits == 8) {
        for (const std::byte byte : bytes) {
            use(std::to_integer<unsigned>(byte));
        }
        return;
    }
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
        use(std::to_integer<unsigned>(bytes[i]) | std::to_integer<unsigned>(bytes[i + 1]) << 8);
    }
}

} // namespace qelm::tool
