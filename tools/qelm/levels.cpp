#include "levels.h"

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <sstream>

namespace qelm::tool {

std::string Levels::text() const {
    std::ostringstream text;
    text << std::fixed << std::setprecision(2) << minimum << " to " << maximum << ", mean " << mean
         << ", non-uniformity " << nonUniformity() << " %";
    return text.str();
}

Levels levelsOf(const host::Frame& frame) {
    Levels levels;
    double sum = 0, squares = 0;
    forEachPixel(frame, [&](unsigned pixel) {
        levels.minimum = std::min(levels.minimum, pixel);
        levels.maximum = std::max(levels.maximum, pixel);
        sum += pixel;
        squares += static_cast<double>(pixel) * pixel;
    });
    const auto count = static_cast<double>(frame.format().pixels());
    levels.mean = sum / count;
    levels.deviation = std::sqrt(std::max(0.0, squares / count - levels.mean * levels.mean));
    return levels;
}

} // namespace qelm::tool
