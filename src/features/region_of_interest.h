#pragma once

#include "description/information.h"
#include "parameters/design_access.h"
#include "parameters/dispatch.h"
#include "parameters/parameter_kinds.h"

#include <cstdint>

namespace qelm::features {

/**
 * The region of interest and the camera size that bounds it, in pixels and lines. A region setter refuses whatever
 * does not fit into the camera at that moment; setting the camera size neither checks nor shrinks the region. The
 * shading buffers follow the region, in columns of four pixels.
 */
class RegionOfInterest {
  public:
    RegionOfInterest(parameters::Dispatch& dispatch, parameters::DesignAccess& design,
                     description::Information& information);

    using Pixels = parameters::Cached<std::uint32_t>;

    /** What gives a shading buffer its region in the design. */
    struct ShadingBuffer {
        parameters::DesignParameter firstColumn, columns, firstLine, lines;
        parameters::DesignParameter update; ///< puts the others into force
    };

  private:
    void checkWidth(std::uint32_t width) const;
    void checkHeight(std::uint32_t height) const;
    void checkXOffset(std::uint32_t x) const;
    void checkYOffset(std::uint32_t y) const;

    /* Tell user interfaces how much fits. */
    void limitWidth();
    void limitHeight();
    void limitXOffset();
    void limitYOffset();

    std::uint32_t shadingX() const; ///< where the region begins in the shading buffers, in pixels
    std::uint32_t shadingY() const;
    void writeWidth();
    void writeHeight();
    void writeXOffset();
    void writeYOffset();
    void writeShading(parameters::DesignParameter ShadingBuffer::*place, std::uint32_t value);
    void writeCameraWidth();
    void writeCameraHeight();

    parameters::DesignAccess& design_;
    description::Information& information_;
    Pixels width_, height_, xOffset_, yOffset_, cameraWidth_, cameraHeight_;
};

} // namespace qelm::features
