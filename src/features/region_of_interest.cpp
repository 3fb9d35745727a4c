#include "features/region_of_interest.h"

#include <algorithm>

namespace qelm::features {
namespace {

using parameters::require;
using enum parameters::DesignParameter;

constexpr std::uint32_t designLimit = 8192; // columns of a line and lines of a frame that the shading buffers hold
constexpr std::uint32_t alignment = 16;     // pixels; of width, x offset and camera width
constexpr std::uint32_t minimumHeight = 2;
constexpr std::uint32_t shadingColumn = 4; // pixels per column unit of the shading buffers
constexpr std::uint32_t update = 1;        // written to UpdateROI

// Signed: a camera made smaller than the region leaves a negative rest, into which nothing fits.
std::int64_t rest(std::uint32_t camera, std::uint32_t taken) {
    return std::int64_t{camera} - std::int64_t{taken};
}

} // namespace

RegionOfInterest::RegionOfInterest(parameters::DesignAccess& design, description::Information& information)
    : design_(design)
    , information_(information)
    , width_(FG_WIDTH, 1024,
             {.check =
                  [this](std::uint32_t width) {
                      require(width >= alignment, FG_ERROR_OUT_OF_RANGE);
                      require(width <= rest(cameraWidth_.value(), xOffset_.value()), FG_ERROR_OUT_OF_RANGE);
                      require(width % alignment == 0, FG_ERROR_ALIGNMENT);
                  },
              .apply = [this](auto...) { writeWidth(); },
              .settled = [this] { information_.setMaximum(FG_XOFFSET, rest(cameraWidth_.value(), width_.value())); }})
    , height_(
          FG_HEIGHT, 1024,
          {.check =
               [this](std::uint32_t height) {
                   require(height >= minimumHeight, FG_ERROR_OUT_OF_RANGE);
                   require(height <= rest(cameraHeight_.value(), yOffset_.value()), FG_ERROR_OUT_OF_RANGE);
               },
           .apply = [this](auto...) { writeHeight(); },
           .settled = [this] { information_.setMaximum(FG_YOFFSET, rest(cameraHeight_.value(), height_.value())); }})
    , xOffset_(FG_XOFFSET, 0,
               {.check =
                    [this](std::uint32_t x) {
                        require(x <= rest(cameraWidth_.value(), width_.value()), FG_ERROR_OUT_OF_RANGE);
                        require(x % alignment == 0, FG_ERROR_ALIGNMENT);
                    },
                .apply = [this](auto...) { writeXOffset(); },
                .settled = [this] { information_.setMaximum(FG_WIDTH, rest(cameraWidth_.value(), xOffset_.value())); }})
    , yOffset_(
          FG_YOFFSET, 0,
          {.check =
               [this](std::uint32_t y) {
                   require(y <= rest(cameraHeight_.value(), height_.value()), FG_ERROR_OUT_OF_RANGE);
               },
           .apply = [this](auto...) { writeYOffset(); },
           .settled = [this] { information_.setMaximum(FG_HEIGHT, rest(cameraHeight_.value(), yOffset_.value())); }})
    , cameraWidth_(FG_CAMERA_WIDTH, 1024,
                   {.check =
                        [](std::uint32_t width) {
                            require(width >= alignment && width <= designLimit, FG_ERROR_OUT_OF_RANGE);
                            require(width % alignment == 0, FG_ERROR_ALIGNMENT);
                        },
                    .apply = [this](auto...) { writeCameraWidth(); },
                    .settled =
                        [this] {
                            information_.setMaximum(FG_WIDTH, rest(cameraWidth_.value(), xOffset_.value()));
                            information_.setMaximum(FG_XOFFSET, rest(cameraWidth_.value(), width_.value()));
                        }})
    , cameraHeight_(FG_CAMERA_HEIGHT, 1024,
                    {.check = parameters::inRange(minimumHeight, designLimit),
                     .apply = [this](auto...) { writeCameraHeight(); },
                     .settled =
                         [this] {
                             information_.setMaximum(FG_HEIGHT, rest(cameraHeight_.value(), yOffset_.value()));
                             information_.setMaximum(FG_YOFFSET, rest(cameraHeight_.value(), height_.value()));
                         }}) {}

void RegionOfInterest::enroll(parameters::Dispatch& dispatch) {
    for (Pixels* parameter : {&width_, &height_, &xOffset_, &yOffset_, &cameraWidth_, &cameraHeight_}) {
        dispatch.add(*parameter);
    }
}

// The clipping against the design limit below guards the shading buffers; while the checks hold it changes nothing. A
// configuration may have brought in any offset.

std::uint32_t RegionOfInterest::shadingX() const {
    return std::min(xOffset_.value(), designLimit - alignment);
}

std::uint32_t RegionOfInterest::shadingY() const {
    return std::min(yOffset_.value(), designLimit - minimumHeight);
}

void RegionOfInterest::writeWidth() {
    const std::uint32_t width = width_.value();
    const std::uint32_t columns = std::min(width, designLimit - shadingX()) / shadingColumn;
    design_.write(Buffer_0_ROI_X_Length, width);
    design_.write(Shading_ShadingBuffer_0_XLength, columns);
    design_.write(Shading_ShadingBuffer_0_UpdateROI, update);
    design_.write(Shading_ShadingBuffer_1_XLength, columns);
    design_.write(Shading_ShadingBuffer_1_UpdateROI, update);
}

void RegionOfInterest::writeHeight() {
    const std::uint32_t height = height_.value();
    const std::uint32_t lines = std::min(height, designLimit - shadingY());
    design_.write(Buffer_0_ROI_Y_Length, height);
    design_.write(Shading_ShadingBuffer_0_YLength, lines);
    design_.write(Shading_ShadingBuffer_0_UpdateROI, update);
    design_.write(Shading_ShadingBuffer_1_YLength, lines);
    design_.write(Shading_ShadingBuffer_1_UpdateROI, update);
}

// Leaves the shading lengths alone, unlike the y offset; callers rely on these writes as they are.
void RegionOfInterest::writeXOffset() {
    const std::uint32_t column = shadingX() / shadingColumn;
    design_.write(Buffer_0_ROI_X_Offset, xOffset_.value());
    design_.write(Shading_ShadingBuffer_0_XOffset, column);
    design_.write(Shading_ShadingBuffer_0_UpdateROI, update);
    design_.write(Shading_ShadingBuffer_1_XOffset, column);
    design_.write(Shading_ShadingBuffer_1_UpdateROI, update);
}

void RegionOfInterest::writeYOffset() {
    const std::uint32_t line = shadingY();
    design_.write(Buffer_0_ROI_Y_Offset, yOffset_.value());
    if (height_.value() + line > designLimit) {
        design_.write(Shading_ShadingBuffer_0_YLength, designLimit - line);
        design_.write(Shading_ShadingBuffer_1_YLength, designLimit - line);
    }
    design_.write(Shading_ShadingBuffer_0_YOffset, line);
    design_.write(Shading_ShadingBuffer_0_UpdateROI, update);
    design_.write(Shading_ShadingBuffer_1_YOffset, line);
    design_.write(Shading_ShadingBuffer_1_UpdateROI, update);
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
