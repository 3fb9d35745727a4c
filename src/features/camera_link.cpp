#include "features/camera_link.h"

namespace qelm::features {
namespace {

namespace rows = parameters::rows;
using enum parameters::DesignParameter;

constexpr std::uint32_t tapCount = 4;
constexpr parameters::DesignParameter tapSelections[tapCount] = {
    Buffer_0_SelectTaps_Tap0_SELECT_Value,
    Buffer_0_SelectTaps_Tap1_SELECT_Value,
    Buffer_0_SelectTaps_Tap2_SELECT_Value,
    Buffer_0_SelectTaps_Tap3_SELECT_Value,
};

struct CameraFormat {
    std::int32_t cameraType;
    std::uint32_t design;
};
constexpr CameraFormat cameraFormats[] = {
    {FG_CL_MEDIUM_8_BIT, 0},
    {FG_CL_MEDIUM_10_BIT, 1},
    {FG_CL_MEDIUM_12_BIT, 2},
};

// A tap geometry code is a bit field of three parts, one entry per tap.
constexpr std::uint32_t mirrored(std::uint32_t code, std::uint32_t tap) {
    return code >> tap & 1;
}
constexpr std::uint32_t bottomHalf(std::uint32_t code, std::uint32_t tap) {
    return code >> (4 + tap) & 1;
}
constexpr std::uint32_t sourceTap(std::uint32_t code, std::uint32_t tap) {
    return code >> (8 + 2 * tap) & 3;
}

} // namespace

CameraLink::CameraLink(parameters::Dispatch& dispatch, parameters::DesignAccess& design)
    : design_(design)
    , cameraType_(dispatch, rows::FG_CAMERA_LINK_CAMTYPE,
                  {.apply = parameters::calls(this, &CameraLink::writeCameraType)})
    , useDval_(dispatch, rows::FG_USEDVAL, {.apply = parameters::writesTo(design, Camera_UseDval)})
    , tapGeometry_(dispatch, rows::FG_DEVICETAPGEOMETRY,
                   {.apply = parameters::calls(this, &CameraLink::writeTapGeometry)}) {}

void CameraLink::writeCameraType() {
    for (const CameraFormat& format : cameraFormats) {
        if (format.cameraType == cameraType_.value()) {
            design_.write(Camera_Format, format.design);
            return;
        }
    }
    throw FG_ERROR_NO_TRANSLATION;
}

void CameraLink::writeTapGeometry() {
    const std::uint32_t code = tapGeometry_.value();
    for (std::uint32_t tap = 0; tap < tapCount; ++tap) {
        const std::uint32_t topDown = 1 - bottomHalf(code, tap);
        design_.write(Buffer_0_verticalTS_TopBottomMode_TapSetting_TopDown_LUTcontent,
                      {.value = topDown, .index = tap});
        design_.write(Buffer_0_verticalTS_RightLeftMode_TapMirrorMode_LUTcontent,
                      {.value = mirrored(code, tap), .index = tap});
        design_.write(Buffer_0_MirrorParCompensation_TapMirrorMode_LUTcontent,
                      {.value = mirrored(code, tap), .index = tap});
    }
    for (std::uint32_t tap = 0; tap < tapCount; ++tap) {
        design_.write(tapSelections[tap], sourceTap(code, tap));
    }
}

} // namespace qelm::features
