#pragma once

#include "features/shading/shading_arithmetic.h"

#include <cstdint>
#include <cstdlib>
#include <memory>

namespace qelm::features::shading {

/**
 * The two coefficient planes of the design: offsets in 12.4 and gains in 4.12 fixed point, element (x, y) at
 * y * 8192 + x. 128 MiB each, allocated when first wanted and kept from then on.
 */
class Planes {
  public:
    using Allocate = void* (*)(std::size_t bytes);

    /** @param allocator gives memory that std::free takes back, or null */
    explicit Planes(Allocate allocator = std::malloc) : allocate_(allocator) {}

    /** Allocates what is not there yet, without a defined content. Throws -2020 when memory is short. */
    void allocate();
    /** As allocate, then no offset and a gain of 1 everywhere. */
    void clear();

    /* Once allocated. */

    Plane offsets() const { return Plane(offsets_.get(), planeSize); }
    Plane gains() const { return Plane(gains_.get(), planeSize); }

  private:
    struct Free {
        void operator()(std::uint16_t* plane) const { std::free(plane); }
    };
    using Memory = std::unique_ptr<std::uint16_t[], Free>;

    void allocate(Memory& plane);

    Allocate allocate_;
    Memory offsets_;
    Memory gains_;
};

} // namespace qelm::features::shading
