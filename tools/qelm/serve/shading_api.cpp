// The shading wizard: references from the camera itself, coefficients, and what is left of the non-uniformity.

#include "serve/api.h"
#include "serve/scratch_file.h"

#include "calibration.h"
#include "camera.h"
#include "coefficient_plane.h"
#include "output_file.h"
#include "picture_settings.h"
#include "png_file.h"
#include "shading_correction.h"
#include "triggers.h"

#include "qelm/host/acquisition.h"

#include <algorithm>
#include <stdexcept>

namespace qelm::server {
namespace {

constexpr std::uint32_t usualFrames = 8;
constexpr std::int64_t mostFrames = 100;
constexpr double patience = 10; // seconds of the board for a picture
// Takes begin so many frames of the camera apart, so that none shares its noise with another one.
constexpr std::uint64_t takeLength = 1000;

/**
 * The mean of the next pictures of an even scene, as the camera's pixels come. On the board's thread; the live
 * acquisition rests meanwhile, and the board's time passes as fast as it can.
 */
tool::Average take(ServedBoard& served, const std::string& scene, std::uint32_t frames) {
    tool::Session& session = served.session();
    const tool::CameraChoice camera = served.camera();
    const bool wasAcquiring = served.live().acquiring();
    served.live().acquire(false);
    tool::PictureSettings pictures(session);
    const auto finish = [&] {
        pictures.restore();
        served.connectCamera(camera);
        served.live().acquire(wasAcquiring);
    };
    tool::Average average;
    try {
        pictures.makePlain();
        const std::string options = camera.options.empty() ? "match" : camera.options;
        tool::connectCamera(session,
                            {options + ",first_frame=" + std::to_string(served.nextTake() * takeLength), scene});
        host::Acquisition acquisition(session.board());
        tool::Triggers triggers(served.control(), session, {.period = 100'000}, patience);
        for (std::uint32_t i = 0; i < frames; ++i) {
            average.add(triggers.await(acquisition));
        }
    } catch (const host::AppletError&) {
        finish();
        throw;
    } catch (const std::runtime_error& problem) { // no picture came, or no such camera
        finish();
        throw ApiError(409, problem.what());
    } catch (...) {
        finish();
        throw;
    }
    finish();
    return average;
}

Answer takeReference(ServedBoard& served, const Call& call, const char* scene,
                     std::optional<tool::Average> References::*kept) {
    const auto frames = static_cast<std::uint32_t>(call.integer("frames", 1, mostFrames, usualFrames));
    Json json;
    served.change(std::string("take ") + scene, [&](host::Board&) {
        tool::switchCorrection(served.session(), false, false);
        tool::Average average = take(served, scene, frames);
        double minimum = average.at(0), maximum = average.at(0);
        std::size_t white = 0;
        for (std::size_t i = 0; i < average.pixels(); ++i) {
            minimum = std::min(minimum, average.at(i));
            maximum = std::max(maximum, average.at(i));
            white += average.at(i) > 0.98 * tool::fullScale ? 1U : 0U;
        }
        Json warnings = Json::array();
        if (kept == &References::black && average.mean() > 0.25 * tool::fullScale) {
            warnings.push_back("Black is not black: is light on the sensor?");
        }
        if (kept == &References::gray && white * 100 > average.pixels()) {
            warnings.push_back("More than 1 % of the pixels are white: half of full scale is a good grey.");
        }
        json = {{"frames", frames},   {"width", average.width()}, {"height", average.height()}, {"minimum", minimum},
                {"maximum", maximum}, {"mean", average.mean()},   {"noise", average.noise()},   {"warnings", warnings}};
        served.references().*kept = std::move(average);
    });
    return {jsonResponse(json)};
}

/** As the applet reads references: samples as parts of full scale. */
std::filesystem::path writeReference(ServedBoard& served, const tool::Average& average) {
    constexpr int bits = 16;
    const std::vector<std::uint8_t> none(average.pixels()); // the applet finds the defective ones by its threshold
    const tool::Reference reference = tool::makeReference(average, bits, none, 0);
    ScratchFile file(served, ".tif");
    tool::writeReference(file.path(), reference, average, "");
    file.keep();
    return file.path();
}

Json residual(const tool::Average& average, std::uint32_t referenceFrames) {
    const tool::Uniformity uniformity = tool::uniformityOf(average, referenceFrames);
    return {{"nonUniformityPercent", uniformity.percent},
            {"explainedByNoisePercent", uniformity.explained},
            {"noisePercent", uniformity.mean > 0 ? 100 * average.noise() / uniformity.mean : 0.0},
            {"mean", uniformity.mean},
            {"outliers", uniformity.outliers}};
}

} // namespace

Answer postBlack(ServedBoard& served, const Call& call) {
    return takeReference(served, call, "black", &References::black);
}

Answer postGray(ServedBoard& served, const Call& call) {
    return takeReference(served, call, "gray", &References::gray);
}

Answer postCompute(ServedBoard& served, const Call& call) {
    const std::string mode = call.has("mode") ? call.string("mode") : "FG_MEAN_VALUE";
    const bool deadPixels = call.has("deadPixels") && call.flag("deadPixels");
    const auto threshold = call.integer("threshold", 0, 4095, 0);
    Json json;
    served.change("compute shading", [&](host::Board&) {
        tool::Session& session = served.session();
        const References& references = served.references();
        if (!references.black && !references.gray) {
            throw ApiError(409, "No reference has been taken: take black, grey or both first.");
        }
        session.change("FG_SHADING_GAIN_CORRECTION_MODE=" + mode);
        if (mode == "FG_CUSTOM_VALUE") {
            host::writeValue(session.board(),
                             {host::parseReference(session.parameters(), "FG_SHADING_GAIN_NORMALIZATION_VALUE"),
                              call.real("normalization")});
        }
        session.change("FG_SHADING_DEAD_PIXEL_INTERPOLATION_THRESHOLD=" + std::to_string(threshold));
        const auto use = [&](const char* parameter, const std::optional<tool::Average>& average) {
            session.useFile(parameter, average ? writeReference(served, *average) : std::filesystem::path());
        };
        use("FG_SHADING_BLACK_FILENAME", references.black);
        use("FG_SHADING_GRAY_FILENAME", references.gray);
        const std::uint32_t frames = (references.gray ? *references.gray : *references.black).frames();
        tool::switchCorrection(session, false, false);
        const tool::Average before = take(served, "gray", frames);
        tool::switchCorrection(session, true, deadPixels);
        session.change("FG_SHADING_APPLY_SETTINGS=FG_APPLY");
        const tool::Average after = take(served, "gray", frames);
        const long long defects = tool::CoefficientPlane(session, tool::CoefficientPlane::Kind::offsets).defects();
        Json warnings = Json::array();
        if (defects * 100 > static_cast<long long>(after.pixels())) {
            warnings.push_back("More than 1 % of the pixels are marked as defective: the threshold is too low.");
        }
        if (references.black && references.gray &&
            (references.black->width() != references.gray->width() ||
             references.black->height() != references.gray->height())) {
            warnings.push_back("Black and grey are not of the same size: the camera was changed between them.");
        }
        json = {{"before", residual(before, 0)},
                {"after", residual(after, frames)},
                {"defects", defects},
                {"warnings", warnings}};
    });
    return {jsonResponse(json)};
}

Answer postShadingOff(ServedBoard& served, const Call& /*call*/) {
    return {jsonResponse(changeJson(
        served.change("shading off", [&](host::Board&) { tool::switchCorrection(served.session(), false, false); })))};
}

Answer getShadingMap(ServedBoard& served, const Call& call) {
    constexpr int longerSide = 512;
    const std::string kind = call.text("kind", "offset");
    if (kind != "offset" && kind != "gain") {
        throw ApiError(400, R"("kind" has to be offset or gain.)");
    }
    const ScratchFile file(served, ".png");
    served.live().run([&](host::Board&) {
        try {
            const tool::CoefficientPlane plane(served.session(), kind == "gain"
                                                                     ? tool::CoefficientPlane::Kind::gains
                                                                     : tool::CoefficientPlane::Kind::offsets);
            if (plane.width() == 0) {
                throw ApiError(409, "The design has loaded no coefficients that correct anything.");
            }
            tool::writePng(file.path(), plane.picture(longerSide));
        } catch (const std::runtime_error& problem) {
            throw ApiError(409, problem.what());
        }
    });
    return fileAnswer(file.path(), "image/png", kind + ".png");
}

} // namespace qelm::server
