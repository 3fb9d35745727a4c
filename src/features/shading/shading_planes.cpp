#include "features/shading/shading_planes.h"

#include "parameters/parameter.h"

#include <algorithm>

namespace qelm::features::shading {

void Planes::allocate() {
    allocate(offsets_);
    allocate(gains_);
}

void Planes::allocate(Memory& plane) {
    if (plane == nullptr) {
        plane.reset(static_cast<std::uint16_t*>(allocate_(planeSize * sizeof(std::uint16_t))));
        parameters::require(plane != nullptr, FG_ERROR_OUT_OF_MEMORY);
    }
}

void Planes::clear() {
    allocate();
    std::ranges::fill(offsets(), noOffset);
    std::ranges::fill(gains(), unityGain);
}

} // namespace qelm::features::shading
