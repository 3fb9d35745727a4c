#include "features/image_output.h"

namespace qelm::features {
namespace {

namespace rows = parameters::rows;
using parameters::require;
using enum parameters::DesignParameter;

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
    , noiseFilter_(dispatch, rows::FG_NOISEFILTER, {.apply = parameters::writesTo(design, NoiseFilter_Select_Value)})
    , selectPeriod_(
          dispatch, rows::FG_IMG_SELECT_PERIOD,
          {.check = [this](std::uint32_t period) { require(period > select_.value(), FG_ERROR_OUT_OF_RANGE); },
           .apply = parameters::writesTo(design, ImageSelector_FG_IMG_SELECT_PERIOD_Divisor)})
    , select_(
          dispatch, rows::FG_IMG_SELECT,
          {.check = [this](std::uint32_t select) { require(select < selectPeriod_.value(), FG_ERROR_OUT_OF_RANGE); },
           .apply = parameters::writesTo(design, ImageSelector_FG_IMG_SELECT_PHASE_Number)})
    , format_(dispatch, rows::FG_FORMAT, {.apply = parameters::calls(this, &ImageOutput::writeFormat)})
    , bitAlignment_(dispatch, rows::FG_BITALIGNMENT,
                    {.apply = parameters::writesTo(design, OutputFormat_FG_BITALIGNMENT_Value)})
    , pixelDepth_(dispatch, rows::FG_PIXELDEPTH, [] { return bitsPerPixel; }) {}

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
