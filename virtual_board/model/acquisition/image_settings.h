#pragma once

#include "model/design_words.h"
#include "model/image_file.h"
#include "model/image_path/image_path.h"
#include "model/image_path/tap_sorting.h"

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace qelm::virtual_board {

/** What the shading buffers have loaded; null before the first load. */
using CoefficientPlanes = std::vector<Pixels>;

/** What the design's parameters say about the way from a frame to a picture. */
class ImageSettings {
  public:
    ImageSettings(DesignWords& words, const CoefficientPlanes& planes);

    /** A parameter of the design was written; the shading buffers take over their regions on a command. */
    void written(const DesignParameter& parameter);

    /** Whether the image selector passes frame `number`, counted from 0. */
    bool selects(std::uint64_t number) const;
    TapSorting taps() const;
    ImagePathSettings path() const;

  private:
    struct ShadingRegion {
        const std::uint32_t *xOffset, *xLength, *yOffset, *yLength;
        const DesignParameter* update;
        CoefficientBuffer taken{}; // over at the last command

        void take();
    };

    static ShadingRegion makeRegion(DesignWords& words, std::size_t buffer);
    CoefficientBuffer coefficients(std::size_t buffer) const;

    const CoefficientPlanes& planes_;
    const std::uint32_t *format_, *topDown_, *mirror_, *mirrorGroup_;
    std::array<const std::uint32_t*, 4> select_;
    const std::uint32_t *imageWidth_, *imageHeight_, *lineLength_, *rightLeftLast_, *divisor_, *split_, *append_,
        *lastLine_;
    const std::uint32_t *x_, *y_, *width_, *height_;
    const std::uint32_t *enableOffset_, *enableGain_, *defaultGain_, *replaceDeadPixels_, *median_, *table_;
    const std::uint32_t *outputSource_, *alignment_, *period_, *phase_;
    std::array<ShadingRegion, 2> regions_;
};

} // namespace qelm::virtual_board
