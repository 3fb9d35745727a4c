#include "features/region_of_interest.h"

#include <algorithm>

namespace qelm::features {
namespace {

namespace rows = parameters::rows;
using parameters::calls;
using parameters::DesignParameter;
using parameters::require;
using enum parameters::DesignParameter;

constexpr std::uint32_t designLimit = 8192; // columns of a line and lines of a frame that the shading buffers hold
constexpr std::uint32_t alignment = 16;     // pixels; of width, x offset and camera width
constexpr std::uint32_t minimumHeight = 2;
constexpr std::uint32_t shadingColumn = 4; // pixels per column unit of the shading buffers
constexpr std::uint32_t update = 1;        // written to UpdateROI

constexpr RegionOfInterest::ShadingBuffer shadingBuffers[] = {
    {Shading_ShadingBuffer_0_XOffset, Shading_ShadingBuffer_0_XLength, Shading_ShadingBuffer_0_YOffset,
     Shading_ShadingBuffer_0_YLength, Shading_ShadingBuffer_0_UpdateROI},
    {Shading_ShadingBuffer_1_XOffset, Shading_ShadingBuffer_1_XLength, Shading_ShadingBuffer_1_YOffset,
     Shading_ShadingBuffer_1_YLength, Shading_ShadingBuffer_1_UpdateROI},
};

// Signed: a camera made smaller than the region leaves less than nothing, into which nothing fits.
std::int64_t remaining(const RegionOfInterest::Pixels& camera, const RegionOfInterest::Pixels& taken) {
    return std::int64_t{camera.value()} - std::int64_t{taken.value()};
}

} // namespace

RegionOfInterest::RegionOfInterest(parameters::Dispatch& dispatch, parameters::DesignAccess& design,
                                   description::Information& information)
    : design_(design)
    , information_(information)
    , width_(dispatch, rows::FG_WIDTH,
             {.check = calls(this, &RegionOfInterest::checkWidth),
              .apply = calls(this, &RegionOfInterest::writeWidth),
              .settled = calls(this, &RegionOfInterest::limitXOffset)})
    , height_(dispatch, rows::FG_HEIGHT,
              {.check = calls(this, &RegionOfInterest::checkHeight),
               .apply = calls(this, &RegionOfInterest::writeHeight),
               .settled = calls(this, &RegionOfInterest::limitYOffset)})
    , xOffset_(dispatch, rows::FG_XOFFSET,
               {.check = calls(this, &RegionOfInterest::checkXOffset),
                .apply = calls(this, &RegionOfInterest::writeXOffset),
                .settled = calls(this, &RegionOfInterest::limitWidth)})
    , yOffset_(dispatch, rows::FG_YOFFSET,
               {.check = calls(this, &RegionOfInterest::checkYOffset),
                .apply = calls(this, &RegionOfInterest::writeYOffset),
                .settled = calls(this, &RegionOfInterest::limitHeight)})
    , cameraWidth_(dispatch, rows::FG_CAMERA_WIDTH,
                   {.apply = calls(this, &RegionOfInterest::writeCameraWidth),
                    .settled = [this] { limitWidth(), limitXOffset(); }})
    , cameraHeight_(dispatch, rows::FG_CAMERA_HEIGHT,
                    {.apply = calls(this, &RegionOfInterest::writeCameraHeight),
                     .settled = [this] { limitHeight(), limitYOffset(); }}) {}

void RegionOfInterest::checkWidth(std::uint32_t width) const {
    require(width <= remaining(cameraWidth_, xOffset_), FG_ERROR_OUT_OF_RANGE);
}

void RegionOfInterest::checkHeight(std::uint32_t height) const {
    require(height <= remaining(cameraHeight_, yOffset_), FG_ERROR_OUT_OF_RANGE);
}

void RegionOfInterest::checkXOffset(std::uint32_t x) const {
    require(x <= remaining(cameraWidth_, width_), FG_ERROR_OUT_OF_RANGE);
}

void RegionOfInterest::checkYOffset(std::uint32_t y) const {
    require(y <= remaining(cameraHeight_, height_), FG_ERROR_OUT_OF_RANGE);
}

void RegionOfInterest::limitWidth() {
    information_.setMaximum(FG_WIDTH, remaining(cameraWidth_, xOffset_));
}
void RegionOfInterest::limitHeight() {
    information_.setMaximum(FG_HEIGHT, remaining(cameraHeight_, yOffset_));
}
void RegionOfInterest::limitXOffset() {
    information_.setMaximum(FG_XOFFSET, remaining(cameraWidth_, width_));
}
void RegionOfInterest::limitYOffset() {
    information_.setMaximum(FG_YOFFSET, remaining(cameraHeight_, height_));
}

// The clipping against the design limit below guards the shading buffers; while the checks hold it changes nothing. A
// configuration may have brought in any offset.

std::uint32_t RegionOfInterest::shadingX() const {
    return std::min(xOffset_.value(), designLimit - alignment);
}

std::uint32_t RegionOfInterest::shadingY() const {
    return std::min(yOffset_.value(), designLimit - minimumHeight);
}

void RegionOfInterest::writeShading(DesignParameter ShadingBuffer::*place, std::uint32_t value) {
    for (const ShadingBuffer& buffer : shadingBuffers) {
        design_.write(buffer.*place, value);
        design_.write(buffer.update, update);
    }
}

void RegionOfInterest::writeWidth() {
    design_.write(Buffer_0_ROI_X_Length, width_.value());
    writeShading(&ShadingBuffer::columns, std::min(width_.value(), designLimit - shadingX()) / shadingColumn);
}

void RegionOfInterest::writeHeight() {
    design_.write(Buffer_0_ROI_Y_Length, height_.value());
    writeShading(&ShadingBuffer::lines, std::min(height_.value(), designLimit - shadingY()));
}

// Leaves the shading lengths alone, unlike the y offset; callers rely on these writes as they are.
void RegionOfInterest::writeXOffset() {
    design_.write(Buffer_0_ROI_X_Offset, xOffset_.value());
    writeShading(&ShadingBuffer::firstColumn, shadingX() / shadingColumn);
}

void RegionOfInterest::writeYOffset() {
    const std::uint32_t line = shadingY();
    design_.write(Buffer_0_ROI_Y_Offset, yOffset_.value());
    if (height_.value() + line > designLimit) {
        for (const ShadingBuffer& buffer : shadingBuffers) {
            design_.write(buffer.lines, designLimit - line);
        }
    }
    writeShading(&ShadingBuffer::firstLine, line);
}

void RegionOfInterest::writeCameraWidth() {
    const std::uint32_t width = cameraWidth_.value();
    design_.write(Buffer_0_verticalTS_Size_Wdiv16_Hx2_ImageWidth, width / 16);
    design_.write(Buffer_0_WidthDIV2_LineLength, width / 2);
    design_.write(Buffer_0_verticalTS_RightLeft_WidthDiv16Minus1_Value, width / 16 - 1);
}

void RegionOfInterest::writeCameraHeight() {
    const std::uint32_t height = cameraHeight_.value();
    design_.write(Buffer_0_verticalTS_Size_Wdiv16_Hx2_ImageHeight, 2 * height);
    design_.write(Buffer_0_verticalTS_TopBottom_Height_TopBottom_Divisor, height);
    design_.write(Buffer_0_verticalTS_TopBottom_Height_TopDownSplit_Number, height);
    design_.write(Buffer_0_verticalTS_Heightx2_AppendNumber, height);
    design_.write(Buffer_0_verticalTS_TopBottom_HeightDIV2Minus1_Value, height / 2 - 1);
}

} // namespace qelm::features
