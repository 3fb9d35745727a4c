#include "features/shading/shading.h"

#include "platform/temporary_file.h"
#include "vendor/nuvpix.h"

#include <algorithm>
#include <optional>

namespace qelm::features {
namespace {

namespace rows = parameters::rows;
using parameters::require;
using enum parameters::DesignParameter;

constexpr double largestGray = 4095.0; // of 12 bits: what the normalisation value counts in
constexpr std::uint32_t load = 1;      // written to LoadCoefficients

/** An image read from a file; absent without a file name. Throws -2076 for what is not a grey image of 8 or 16 bits. */
class ImageFile {
  public:
    explicit ImageFile(const std::string& fileName) {
        if (fileName.empty()) {
            return;
        }
        void* pixels = nullptr;
        std::int32_t samplesPerPixel = 0;
        const bool read = ::readImage(fileName.c_str(), &pixels, &image_.width, &image_.height, &image_.bitsPerSample,
                                      &samplesPerPixel) != 0;
        require(read && pixels != nullptr, FG_ERROR_FILE_NOT_FOUND);
        pixels_.reset(pixels);
        image_.pixels = pixels;
        require(samplesPerPixel == 1 && (image_.bitsPerSample == 8 || image_.bitsPerSample == 16) && image_.width > 0 &&
                    image_.height > 0,
                FG_ERROR_FILE_NOT_FOUND);
    }

    const shading::ReferenceImage& image() const { return image_; }

  private:
    struct FreeImage {
        void operator()(void* pixels) const { ::freeImage(pixels); }
    };

    shading::ReferenceImage image_;
    std::unique_ptr<void, FreeImage> pixels_;
};

/** Writes a plane, its bytes as they lie in memory, to a file of its own and has the design load it. */
platform::TemporaryFile loadPlane(parameters::DesignAccess& design, shading::Plane plane,
                                  parameters::DesignParameter file, parameters::DesignParameter command) {
    std::optional<platform::TemporaryFile> temporary = platform::TemporaryFile::create();
    require(temporary.has_value(), FG_ERROR_UNKNOWN);
    constexpr std::int32_t bytesPerRow = shading::planeLimit * 2;
    const std::int32_t result =
        ::writeImage(temporary->path().c_str(), plane.data(), bytesPerRow, shading::planeLimit, 8, 1);
    require(result == 0, FG_ERROR_SYSTEM);
    design.writePath(file, temporary->path());
    design.write(command, load);
    return std::move(*temporary);
}

} // namespace

Shading::Shading(parameters::Dispatch& dispatch, parameters::DesignAccess& design,
                 description::Information& information)
    : design_(design)
    , information_(information)
    , offsetEnable_(dispatch, rows::FG_SHADING_OFFSET_ENABLE,
                    {.apply = parameters::writesTo(design, Shading_EnableOffset_Enable_Value)})
    , gainEnable_(dispatch, rows::FG_SHADING_GAIN_ENABLE,
                  {.apply = parameters::writesTo(design, Shading_EnableGain_Enable_Value)})
    , deadPixelEnable_(dispatch, rows::FG_SHADING_DEAD_PIXEL_INTERPOLATION_ENABLE,
                       {.apply = parameters::writesTo(design, NoiseFilter_EnableDeadPixelReplacement_Value)})
    , deadPixelThreshold_(dispatch, rows::FG_SHADING_DEAD_PIXEL_INTERPOLATION_THRESHOLD, {})
    , blackFile_(dispatch, rows::FG_SHADING_BLACK_FILENAME, {})
    , grayFile_(dispatch, rows::FG_SHADING_GRAY_FILENAME, {})
    , gainMode_(dispatch, rows::FG_SHADING_GAIN_CORRECTION_MODE,
                {.apply = parameters::calls(this, &Shading::followMode)})
    , normalization_(dispatch, rows::FG_SHADING_GAIN_NORMALIZATION_VALUE, {})
    , apply_(dispatch, rows::FG_SHADING_APPLY_SETTINGS, {.apply = parameters::calls(this, &Shading::applySettings)}) {}

void Shading::prepare() {
    information_.setAccess(FG_SHADING_GAIN_NORMALIZATION_VALUE,
                           description::access::readOnly); // whatever the write does
    design_.write(Shading_EnableGain_Default_Value, shading::unityGain);
}

/** The normalisation value is the user's in one mode and a result, not known yet, in the others. */
void Shading::followMode() {
    const bool custom = gainMode_.value() == FG_CUSTOM_VALUE;
    if (!custom) {
        normalization_.set(gainMode_.value() == FG_MAX_RANGE ? largestGray : 0.0);
    }
    information_.setAccess(FG_SHADING_GAIN_NORMALIZATION_VALUE,
                           custom ? description::access::readWrite : description::access::readOnly);
}

void Shading::applySettings() {
    if (blackFile_.value().empty() && grayFile_.value().empty()) {
        return;
    }
    computeCoefficients(); // the reference images, as large as the planes, are gone before these go to the design
    loadCoefficients();
}

void Shading::computeCoefficients() {
    const ImageFile blackImage(blackFile_.value());
    const ImageFile grayImage(grayFile_.value());
    const shading::ReferenceImage& black = blackImage.image();
    const shading::ReferenceImage& gray = grayImage.image();
    planes_.allocate();

    shading::CoefficientSettings settings;
    if (deadPixelEnable_.value() == FG_ON) {
        settings.defectThreshold = deadPixelThreshold_.value();
    }
    if (!gray.absent()) {
        // A configuration may have brought any mode and any normalisation value.
        double target = 0.0;
        switch (gainMode_.value()) {
        case FG_MAX_VALUE:
            target = shading::largestSignal(gray, black);
            break;
        case FG_MEAN_VALUE:
            target = shading::meanSignal(gray, black);
            break;
        case FG_MAX_RANGE:
            target = 1.0;
            break;
        case FG_CUSTOM_VALUE:
            target = normalization_.value() / largestGray;
            break;
        default:
            break;
        }
        const bool resultIsShown = gainMode_.value() == FG_MAX_VALUE || gainMode_.value() == FG_MEAN_VALUE ||
                                   gainMode_.value() == FG_CUSTOM_VALUE;
        try {
            if (resultIsShown) {
                normalization_.set(target * largestGray);
            }
        } catch (std::int32_t) {
            // The planes then hold what was known: offsets, and gains of 1.
            shading::computeCoefficients(gray, black, settings, planes_.offsets(), planes_.gains());
            throw;
        }
        settings.target = target;
    }
    shading::computeCoefficients(gray, black, settings, planes_.offsets(), planes_.gains());
}

void Shading::loadCoefficients() {
    // Both files stay until the design has loaded both.
    const platform::TemporaryFile offsets = loadPlane(
        design_, planes_.offsets(), Shading_ShadingBuffer_0_CoefficientFile, Shading_ShadingBuffer_0_LoadCoefficients);
    const platform::TemporaryFile gains = loadPlane(design_, planes_.gains(), Shading_ShadingBuffer_1_CoefficientFile,
                                                    Shading_ShadingBuffer_1_LoadCoefficients);
}

ShadingAccess* Shading::allocateAccess() {
    try {
        planes_.clear();
        accesses_.push_back(std::make_unique<ShadingAccess>(planes_, [this]() -> std::int32_t {
            try {
                loadCoefficients();
                return 0;
            } catch (std::int32_t code) {
                return code;
            }
        }));
        return accesses_.back().get();
    } catch (std::int32_t) {
        return nullptr;
    }
}

std::int32_t Shading::freeAccess(const ShadingAccess* access) {
    const auto owned =
        std::ranges::find(accesses_, access, [](const std::unique_ptr<ShadingAccess>& one) { return one.get(); });
    if (owned == accesses_.end()) {
        return FG_ERROR_UNKNOWN;
    }
    accesses_.erase(owned);
    return 0;
}

} // namespace qelm::features
