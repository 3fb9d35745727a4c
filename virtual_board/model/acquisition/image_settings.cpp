#include "model/acquisition/image_settings.h"

#include <algorithm>

namespace qelm::virtual_board {
namespace {

const std::string process = "Device1_Process0_";
const std::string sorter = process + "Buffer_0_verticalTS_";
const std::string region = process + "Buffer_0_ROI_";
const std::string shading = process + "Shading_";
const std::string selector = process + "ImageSelector_FG_IMG_SELECT_";
constexpr std::uint32_t tapCount = 4;
constexpr std::uint32_t tableLength = 4096;

TapSorting::OfTaps ofTaps(const std::uint32_t* field) {
    return {field[0], field[1], field[2], field[3]};
}

} // namespace

ImageSettings::ImageSettings(DesignWords& words, const CoefficientPlanes& planes)
    : planes_(planes)
    , format_(words.at(process + "Camera_Format"))
    , topDown_(words.at(sorter + "TopBottomMode_TapSetting_TopDown_LUTcontent", tapCount))
    , mirror_(words.at(sorter + "RightLeftMode_TapMirrorMode_LUTcontent", tapCount))
    , mirrorGroup_(words.at(process + "Buffer_0_MirrorParCompensation_TapMirrorMode_LUTcontent", tapCount))
    , imageWidth_(words.at(sorter + "Size_Wdiv16_Hx2_ImageWidth"))
    , imageHeight_(words.at(sorter + "Size_Wdiv16_Hx2_ImageHeight"))
    , lineLength_(words.at(process + "Buffer_0_WidthDIV2_LineLength"))
    , rightLeftLast_(words.at(sorter + "RightLeft_WidthDiv16Minus1_Value"))
    , divisor_(words.at(sorter + "TopBottom_Height_TopBottom_Divisor"))
    , split_(words.at(sorter + "TopBottom_Height_TopDownSplit_Number"))
    , append_(words.at(sorter + "Heightx2_AppendNumber"))
    , lastLine_(words.at(sorter + "TopBottom_HeightDIV2Minus1_Value"))
    , x_(words.at(region + "X_Offset"))
    , y_(words.at(region + "Y_Offset"))
    , width_(words.at(region + "X_Length"))
    , height_(words.at(region + "Y_Length"))
    , enableOffset_(words.at(shading + "EnableOffset_Enable_Value"))
    , enableGain_(words.at(shading + "EnableGain_Enable_Value"))
    , defaultGain_(words.at(shading + "EnableGain_Default_Value"))
    , replaceDeadPixels_(words.at(process + "NoiseFilter_EnableDeadPixelReplacement_Value"))
    , median_(words.at(process + "NoiseFilter_Select_Value"))
    , table_(words.at(process + "LookupTable_LookupTable_LUTcontent", tableLength))
    , outputSource_(words.at(process + "OutputFormat_FG_FORMAT_SelectSource"))
    , alignment_(words.at(process + "OutputFormat_FG_BITALIGNMENT_Value"))
    , period_(words.at(selector + "PERIOD_Divisor"))
    , phase_(words.at(selector + "PHASE_Number"))
    , regions_{makeRegion(words, 0), makeRegion(words, 1)} {
    for (std::size_t tap = 0; tap < select_.size(); ++tap) {
        select_[tap] = words.at(process + "Buffer_0_SelectTaps_Tap" + std::to_string(tap) + "_SELECT_Value");
    }
}

ImageSettings::ShadingRegion ImageSettings::makeRegion(DesignWords& words, std::size_t buffer) {
    const std::string name = shading + "ShadingBuffer_" + std::to_string(buffer) + "_";
    ShadingRegion made{words.at(name + "XOffset"), words.at(name + "XLength"), words.at(name + "YOffset"),
                       words.at(name + "YLength"), words.parameter(name + "UpdateROI")};
    made.take();
    return made;
}

void ImageSettings::ShadingRegion::take() {
    taken = {*xOffset, *xLength, *yOffset, *yLength};
}

void ImageSettings::written(const DesignParameter& parameter) {
    for (ShadingRegion& shadingRegion : regions_) {
        if (shadingRegion.update == &parameter) {
            shadingRegion.take();
        }
    }
}

bool ImageSettings::selects(std::uint64_t number) const {
    return number % std::max(*period_, 1U) == *phase_;
}

TapSorting ImageSettings::taps() const {
    return {.format = static_cast<LinkFormat>(std::min(*format_, static_cast<std::uint32_t>(LinkFormat::bits12))),
            .topDown = ofTaps(topDown_),
            .mirror = ofTaps(mirror_),
            .mirrorGroup = ofTaps(mirrorGroup_),
            .select = {*select_[0], *select_[1], *select_[2], *select_[3]},
            .imageWidth = *imageWidth_,
            .imageHeight = *imageHeight_,
            .lineLength = *lineLength_,
            .rightLeftLast = *rightLeftLast_,
            .divisor = *divisor_,
            .split = *split_,
            .append = *append_,
            .lastLine = *lastLine_};
}

CoefficientBuffer ImageSettings::coefficients(std::size_t buffer) const {
    CoefficientBuffer coefficients = regions_[buffer].taken;
    if (buffer < planes_.size()) {
        coefficients.plane = static_cast<const std::uint16_t*>(planes_[buffer].get());
    }
    return coefficients;
}

ImagePathSettings ImageSettings::path() const {
    return {.region = {*x_, *y_, *width_, *height_},
            .offsets = coefficients(0),
            .gains = coefficients(1),
            .enableOffset = *enableOffset_ != 0,
            .enableGain = *enableGain_ != 0,
            .defaultGain = *defaultGain_,
            .deadPixelReplacement = *replaceDeadPixels_ != 0,
            .median = *median_ != 0,
            .lookupTable = std::span<const std::uint32_t, tableLength>(table_, tableLength),
            .format = *outputSource_ != 0 ? OutputFormat::bits8 : OutputFormat::bits16,
            .leftAligned = *alignment_ != 0};
}

} // namespace qelm::virtual_board
