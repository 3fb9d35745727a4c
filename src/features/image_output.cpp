#include "features/image_output.h"

namespace qelm::features {
namespace {

namespace enumerations = parameters::enumerations;
using parameters::require;
using enum parameters::DesignParameter;

constexpr std::uint32_t longestPeriod = 256;
constexpr std::uint32_t bitsPerPixel = 12; // inside the design

struct FormatSource {
    std::int32_t format;
    std::uint32_t design;
};
constexpr FormatSource formatSources[] = {
    {FG_GRAY, 1},
    {FG_GRAY16, 0},
};

} // namespace

ImageOutput::ImageOutput(parameters::Dispatch& dispatch, parameters::DesignAccess& design)
    : design_(design)
    , noiseFilter_(dispatch, FG_NOISEFILTER, FG_OFF,
                   {.check = parameters::oneOf<std::int32_t>(enumerations::OnOff),
                    .apply = parameters::writesTo(design, NoiseFilter_Select_Value)})
    , selectPeriod_(dispatch, FG_IMG_SELECT_PERIOD, 1,
                    {.check =
                         [this](std::uint32_t period) {
                             require(period >= 1 && period <= longestPeriod, FG_ERROR_OUT_OF_RANGE);
                             require(period > select_.value(), FG_ERROR_OUT_OF_RANGE);
                         },
                     .apply = parameters::writesTo(design, ImageSelector_FG_IMG_SELECT_PERIOD_Divisor)})
    , select_(dispatch, FG_IMG_SELECT, 0,
              {.check =
                   [this](std::uint32_t select) {
                       require(select < longestPeriod && select < selectPeriod_.value(), FG_ERROR_OUT_OF_RANGE);
                   },
               .apply = parameters::writesTo(design, ImageSelector_FG_IMG_SELECT_PHASE_Number)})
    , format_(dispatch, FG_FORMAT, FG_GRAY,
              {.check = parameters::oneOf<std::int32_t>(enumerations::PixelFormat),
               .apply = parameters::calls(this, &ImageOutput::writeFormat)})
    , bitAlignment_(dispatch, FG_BITALIGNMENT, FG_LEFT_ALIGNED,
                    {.check = parameters::oneOf<std::int32_t>(enumerations::BitAlignment),
                     .apply = parameters::writesTo(design, OutputFormat_FG_BITALIGNMENT_Value)})
    , pixelDepth_(dispatch, FG_PIXELDEPTH, [] { return bitsPerPixel; }) {}

void ImageOutput::writeFormat() {
    for (const FormatSource& source : formatSources) {
        if (source.format == format_.value()) {
            design_.write(OutputFormat_FG_FORMAT_SelectSource, source.design);
            return;
        }
    }
    throw FG_ERROR_NO_TRANSLATION;
}

} // namespace qelm::features
