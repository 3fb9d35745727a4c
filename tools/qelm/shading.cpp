#include "coefficient_plane.h"
#include "output.h"
#include "output_file.h"
#include "progress.h"
#include "set_up.h"

#include "qelm/host/image_file.h"

#include <iomanip>
#include <iostream>
#include <sstream>
#include <stdexcept>

namespace qelm::tool {
namespace {

/**
 * Says what is likely to be meant otherwise: a reference covers the whole camera, and samples of 16 bits are
 * left-aligned.
 */
void checkReference(const Session& session, const std::filesystem::path& file) {
    const std::optional<host::GrayImage> image = host::readGrayImage(file);
    if (!image) {
        return; // the applet refuses it
    }
    const auto width = session.board().get<std::int32_t>(FG_CAMERA_WIDTH);
    const auto height = session.board().get<std::int32_t>(FG_CAMERA_HEIGHT);
    if (image->width != width || image->height != height) {
        printWarning("\"" + file.string() + "\" has " + std::to_string(image->width) + " x " +
                     std::to_string(image->height) + " pixels, but the camera " + std::to_string(width) + " x " +
                     std::to_string(height) +
                     " (FG_CAMERA_WIDTH, FG_CAMERA_HEIGHT): a reference begins with the camera's first pixel, whatever "
                     "the region of interest is");
    }
    constexpr std::uint32_t largestOf12Bits = 4095;
    if (image->bits == 16 && image->largest <= largestOf12Bits) {
        printWarning("\"" + file.string() + "\" has samples of 16 bits, but none above " +
                     std::to_string(image->largest) +
                     ": samples are taken for left-aligned, 65535 being white; grab references with "
                     "FG_BITALIGNMENT=FG_LEFT_ALIGNED");
    }
}

} // namespace

int shading(const CommonOptions& options, const ShadingOptions& shadingOptions) {
    for (const std::filesystem::path& picture : {shadingOptions.offsets, shadingOptions.gains}) {
        if (!picture.empty()) {
            requireExtension(picture, {".png"});
        }
    }
    const host::Applet applet = loadApplet(options);
    Session session = startSession(applet, options);
    makeSettings(session, shadingOptions.settings);
    if (!shadingOptions.black.empty()) {
        session.useFile("FG_SHADING_BLACK_FILENAME", shadingOptions.black);
        checkReference(session, shadingOptions.black);
    }
    if (!shadingOptions.gray.empty()) {
        session.useFile("FG_SHADING_GRAY_FILENAME", shadingOptions.gray);
        checkReference(session, shadingOptions.gray);
    }
    {
        const Progress progress("computing and loading the coefficients");
        session.change("FG_SHADING_APPLY_SETTINGS=FG_APPLY");
    }
    const auto normalization = session.board().get<double>(FG_SHADING_GAIN_NORMALIZATION_VALUE);
    Json json{{"normalization", normalization}};
    Table table;
    std::ostringstream normalizationText;
    normalizationText << std::setprecision(10) << normalization;
    table.add({"normalization value", normalizationText.str()});
    if (applet.virtualBoard() != nullptr) {
        const Progress progress("drawing the planes");
        const CoefficientPlane offsets(session, CoefficientPlane::Kind::offsets);
        const CoefficientPlane gains(session, CoefficientPlane::Kind::gains);
        table.add({"offsets", offsets.text()});
        table.add({"gains", gains.text()});
        constexpr double mostDefects = 1.0;
        if (offsets.defectPercent() > mostDefects) {
            std::ostringstream percent;
            percent << std::setprecision(3) << offsets.defectPercent();
            printWarning(percent.str() + " % of the pixels are marked as defective, more than any sensor has: look at "
                                         "FG_SHADING_DEAD_PIXEL_INTERPOLATION_THRESHOLD and at the references");
        }
        json["offsets"] = offsets.json();
        json["gains"] = gains.json();
        if (!shadingOptions.offsets.empty()) {
            writePng(shadingOptions.offsets, offsets.picture(shadingOptions.size));
        }
        if (!shadingOptions.gains.empty()) {
            writePng(shadingOptions.gains, gains.picture(shadingOptions.size));
        }
    } else if (!shadingOptions.offsets.empty() || !shadingOptions.gains.empty()) {
        throw std::runtime_error("only a virtual board tells what its design has loaded: no picture can be drawn");
    }
    if (options.json) {
        print(json);
    } else {
        table.print();
    }
    return 0;
}

} // namespace qelm::tool
