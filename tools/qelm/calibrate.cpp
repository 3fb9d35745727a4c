// From black and grey to a corrected picture: takes the references, checks them, computes the correction and judges it
// by frames that it was not made from.

#include "calibration.h"
#include "camera.h"
#include "coefficient_plane.h"
#include "interruption.h"
#include "output_file.h"
#include "picture_settings.h"
#include "picture_writer.h"
#include "progress.h"
#include "save_configuration.h"
#include "set_up.h"
#include "shading_correction.h"
#include "triggers.h"

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <utility>

namespace qelm::tool {
namespace {

namespace fs = std::filesystem;

constexpr double timeout = 10; // virtual seconds for a picture
constexpr double mostDefects = 0.01;
// Where each take begins, counted in frames of the camera, so that none of them shares its noise with another one.
constexpr std::uint64_t grayFrames = 1'000'000, freshFrames = 2'000'000, shownFrames = 3'000'000;

std::string number(double value, int digits = 2) {
    std::ostringstream text;
    text << std::fixed << std::setprecision(digits) << value;
    return text.str();
}

class Calibration {
  public:
    Calibration(const CommonOptions& options, const CalibrateOptions& calibrateOptions, const host::Applet& applet)
        : options_(options)
        , choice_(calibrateOptions)
        , control_(*applet.virtualBoard())
        , session_(startSession(applet, options)) {
        makeSettings(session_, choice_.settings);
        triggerState_ = session_.board().get<std::uint32_t>(FG_TRIGGERSTATE);
    }

    int run() {
        PictureSettings pictures(session_);
        switchCorrection(false);
        pictures.makePlain();
        takeReferences();
        compute();
        judge();
        pictures.restore();
        drawPictures();
        stopTriggers();
        saveConfiguration(options_, session_, choice_.output);
        return report();
    }

  private:
    void connect(const std::string& scene, std::uint64_t firstFrame) {
        const std::string options = choice_.camera.options.empty() ? "match" : choice_.camera.options;
        const std::size_t warningsBefore = warnings().size();
        connectCamera(session_,
                      {options + (firstFrame == 0 ? "" : ",first_frame=" + std::to_string(firstFrame)), scene});
        if (warnings().size() != warningsBefore) {
            throw std::runtime_error("a calibration needs the camera that the board is set to");
        }
    }

    template <class Use>
    void takeFrames(const std::string& what, std::uint32_t frames, Use&& use) {
        startTriggers(session_, options_, choice_.settings);
        host::Acquisition acquisition(session_.board());
        Triggers triggers(control_, session_, {.period = 100'000}, timeout);
        ProgressBar progress(what, frames);
        for (std::uint32_t i = 0; i < frames; ++i) {
            use(triggers.await(acquisition));
            progress.advance();
        }
    }

    /** The configuration is to hold what the user has set. */
    void stopTriggers() {
        if (session_.board().get<std::uint32_t>(FG_TRIGGERSTATE) != triggerState_) {
            session_.board().change(FG_TRIGGERSTATE, triggerState_);
        }
    }

    Average take(const std::string& what, const std::string& scene, std::uint64_t firstFrame, std::uint32_t frames) {
        connect(scene, firstFrame);
        Average average;
        takeFrames(what, frames, [&](const host::Frame& frame) { average.add(frame); });
        return average;
    }

    /** Averages black and grey, or looks at the files given as a camera without faults of its own would. */
    void takeReferences() {
        const bool fromFiles = !choice_.black.empty();
        const Average black = fromFiles ? readReference(choice_.black, false)
                                        : take("taking black", choice_.blackScene, 0, choice_.frames);
        const Average gray = fromFiles ? readReference(choice_.gray, true)
                                       : take("taking grey", choice_.grayScene, grayFrames, choice_.frames);
        referenceFrames_ = gray.frames();
        checkLevels(black, gray);
        const std::vector<std::uint8_t> defects = findDefects(black, gray);
        marked_ = static_cast<std::size_t>(std::ranges::count(defects, 1));
        if (static_cast<double>(marked_) > mostDefects * static_cast<double>(defects.size())) {
            throw std::runtime_error(std::to_string(marked_) + " of " + std::to_string(defects.size()) +
                                     " pixels look defective, more than 1 %: are the references of the same camera, "
                                     "and is the grey one even?");
        }
        blackLevel_ = black.mean();
        grayLevel_ = gray.mean();
        writeReferences(black, gray, defects);
    }

    Average readReference(const fs::path& file, bool isGray) const {
        const std::optional<host::GrayImage> read = host::readGrayImage(file);
        if (!read) {
            throw std::runtime_error("\"" + file.string() + "\" is no grey TIFF file of 8 or 16 bits that can be read");
        }
        const host::GrayImage& image = *read;
        const auto width = session_.board().get<std::int32_t>(FG_CAMERA_WIDTH);
        const auto height = session_.board().get<std::int32_t>(FG_CAMERA_HEIGHT);
        if (image.width != width || image.height != height) {
            throw std::runtime_error("\"" + file.string() + "\" has " + std::to_string(image.width) + " x " +
                                     std::to_string(image.height) + " pixels, and the camera " + std::to_string(width) +
                                     " x " + std::to_string(height) +
                                     ": references show the whole sensor, whatever the region of interest is");
        }
        if (isGray && image.bits == 16 && image.largest <= fullScale) {
            throw std::runtime_error("the largest sample of \"" + file.string() + "\" is " +
                                     std::to_string(image.largest) +
                                     " of 65535: are its 12 bits right-aligned? "
                                     "References are left-aligned (FG_BITALIGNMENT=FG_LEFT_ALIGNED)");
        }
        return Average(image);
    }

    void checkLevels(const Average& black, const Average& gray) const {
        const auto refuse = [](const std::string& sentence) { throw std::runtime_error(sentence); };
        const double dark = black.mean(), bright = gray.mean();
        if (dark > 0.25 * fullScale) {
            refuse("black is not black: its mean is " + number(dark) + " of 4095; is light on the sensor?");
        }
        if (bright - dark < 0.05 * fullScale) {
            refuse("grey is hardly brighter than black: their means are " + number(bright) + " and " + number(dark) +
                   " of 4095");
        }
        std::size_t white = 0, cut = 0;
        for (std::size_t i = 0; i < gray.pixels(); ++i) {
            white += gray.at(i) > 0.98 * fullScale ? 1U : 0U;
            cut += black.at(i) == 0 ? 1U : 0U;
        }
        if (static_cast<double>(white) > mostDefects * static_cast<double>(gray.pixels())) {
            refuse("grey is over-exposed: " +
                   number(100.0 * static_cast<double>(white) / static_cast<double>(gray.pixels())) +
                   " % of its pixels are white; half of full scale is a good grey");
        }
        if (2 * cut > black.pixels()) {
            printWarning("more than half of the black pixels are 0: what lies below is lost, and with it the offsets; "
                         "a higher black level of the camera keeps them");
        }
    }

    /**
     * The file's threshold for defective pixels is one number for both: a sample of the black image above it and one of
     * the grey image as far below white are defective. In samples of 16 bits it cannot be large enough to leave any
     * grey that is not almost white; a black image of 8 bits makes it one of 8 bits, and lets the grey one keep its 16.
     * What was found to be defective is written as white in black and black in grey, which any such threshold finds.
     */
    void writeReferences(const Average& black, const Average& gray, const std::vector<std::uint8_t>& defects) {
        constexpr std::uint16_t white8 = 255;
        const int blackBits = marked_ > 0 ? 8 : 16;
        const Reference blackReference = makeReference(black, blackBits, defects, white8);
        const Reference grayReference = makeReference(gray, 16, defects, 0);
        if (marked_ > 0) {
            unsigned brightest = 0;
            for (std::size_t i = 0; i < defects.size(); ++i) {
                brightest = defects[i] != 0 ? brightest : std::max<unsigned>(brightest, blackReference.data[i]);
            }
            threshold_ = (brightest + white8) / 2;
        }
        blackFile_ = referenceFile("-black.tif");
        grayFile_ = referenceFile("-gray.tif");
        for (const fs::path& given : {choice_.black, choice_.gray}) {
            std::error_code error;
            if (fs::equivalent(given, blackFile_, error) || fs::equivalent(given, grayFile_, error)) {
                throw std::runtime_error("\"" + given.string() + "\" would be replaced: give -o another name");
            }
        }
        writeReference(blackFile_, blackReference, black);
        writeReference(grayFile_, grayReference, gray);
    }
    fs::path referenceFile(const char* ending) const {
        fs::path file = choice_.output;
        file.replace_filename(choice_.output.stem());
        file += ending;
        return file;
    }
    void writeReference(const fs::path& file, const Reference& reference, const Average& average) {
        const Json description{{"averagedFrames", average.frames()}, {"settings", settingsJson(session_)}};
        tool::writeReference(file, reference, average, description.dump(-1, ' ', true, Json::error_handler_t::replace));
    }

    void switchCorrection(bool on) { tool::switchCorrection(session_, on, marked_ > 0); }

    void compute() {
        session_.useFile("FG_SHADING_BLACK_FILENAME", blackFile_);
        session_.useFile("FG_SHADING_GRAY_FILENAME", grayFile_);
        session_.change("FG_SHADING_DEAD_PIXEL_INTERPOLATION_THRESHOLD=" + std::to_string(threshold_));
        switchCorrection(true);
        {
            const Progress progress("computing and loading the coefficients");
            session_.change("FG_SHADING_APPLY_SETTINGS=FG_APPLY");
        }
        offsets_.emplace(session_, CoefficientPlane::Kind::offsets);
        gains_.emplace(session_, CoefficientPlane::Kind::gains);
        if (offsets_->defects() != static_cast<long long>(marked_)) {
            throw std::runtime_error("the design marks " + std::to_string(offsets_->defects()) +
                                     " pixels as defective, where the references have " + std::to_string(marked_));
        }
    }

    void judge() {
        switchCorrection(false);
        const Average before = take("looking at fresh frames", choice_.grayScene, freshFrames, choice_.frames);
        switchCorrection(true);
        const Average after = take("looking at corrected frames", choice_.grayScene, freshFrames, choice_.frames);
        before_ = uniformityOf(before, 0);
        after_ = uniformityOf(after, referenceFrames_);
        freshNoise_ = after.noise();
    }

    void drawPictures() {
        for (const auto& [file, corrected] : {std::pair{choice_.before, false}, std::pair{choice_.after, true}}) {
            if (file.empty()) {
                continue;
            }
            switchCorrection(corrected);
            connect(choice_.camera.scene.empty() ? choice_.grayScene : choice_.camera.scene, shownFrames);
            takeFrames("taking a picture", 1,
                       [&, &name = file](const host::Frame& frame) { writePng(control_, name, frame); });
        }
        switchCorrection(true);
    }

    /** @return the exit status */
    int report() const {
        // A tenth more is what two averages differ by. What the camera's counts round off comes besides.
        const double rounding = 100 * countStep() / std::sqrt(12.0) / after_.mean;
        const bool isExplained = after_.percent <= 1.1 * after_.explained + rounding;
        Table table;
        table.add({"black", referenceText(blackLevel_, blackFile_)});
        table.add({"grey", referenceText(grayLevel_, grayFile_)});
        table.add({"offsets", offsets_->text()});
        table.add({"gains", gains_->text()});
        table.add({"defective", std::to_string(marked_) + " pixels marked" +
                                    (marked_ > 0 ? ", threshold " + std::to_string(threshold_) : "")});
        table.add({"before", uniformityText(before_)});
        table.add(
            {"after", uniformityText(after_) + "; the noise alone explains " + number(after_.explained, 3) + " %"});
        table.add({"noise", number(freshNoise_) + " counts from frame to frame"});
        table.add({"configuration", choice_.output.string()});
        if (options_.json) {
            print(Json{{"black", {{"mean", blackLevel_}, {"file", blackFile_.string()}}},
                       {"gray", {{"mean", grayLevel_}, {"file", grayFile_.string()}}},
                       {"frames", choice_.black.empty() ? Json(choice_.frames) : Json()},
                       {"threshold", threshold_},
                       {"offsets", offsets_->json()},
                       {"gains", gains_->json()},
                       {"defective", marked_},
                       {"before", uniformityJson(before_)},
                       {"after", uniformityJson(after_)},
                       {"noise", freshNoise_},
                       {"explainedByNoise", isExplained},
                       {"configuration", choice_.output.string()}});
        } else {
            table.print();
        }
        if (!isExplained) {
            printError("the noise does not explain what is left: the references, or the camera, may not be even");
        }
        if (after_.outliers > 0) {
            printError(std::to_string(after_.outliers) + " pixels still differ from those around them");
        }
        return isExplained && after_.outliers == 0 ? 0 : 1;
    }
    /** How many counts of 12 bits one of the camera's is. */
    double countStep() const {
        switch (session_.board().get<std::int32_t>(FG_CAMERA_LINK_CAMTYPE)) {
        case FG_CL_MEDIUM_12_BIT:
            return 1;
        case FG_CL_MEDIUM_10_BIT:
            return 4;
        default:
            return 16;
        }
    }
    std::string referenceText(double level, const fs::path& file) const {
        return "mean " + number(level) + " of 4095" +
               (choice_.black.empty() ? ", " + std::to_string(choice_.frames) + " frames" : "") + ", " + file.string();
    }
    static std::string uniformityText(const Uniformity& uniformity) {
        return "non-uniformity " + number(uniformity.percent, 3) + " %, mean " + number(uniformity.mean) + ", " +
               std::to_string(uniformity.outliers) + " dead or hot pixels";
    }
    static Json uniformityJson(const Uniformity& uniformity) {
        return {{"nonUniformityPercent", uniformity.percent},
                {"explainedByNoisePercent", uniformity.explained},
                {"mean", uniformity.mean},
                {"deadOrHotPixels", uniformity.outliers}};
    }

    const CommonOptions& options_;
    const CalibrateOptions& choice_;
    const host::VirtualBoardFunctions& control_;
    Session session_;
    std::uint32_t triggerState_;
    fs::path blackFile_, grayFile_;
    double blackLevel_ = 0, grayLevel_ = 0, freshNoise_ = 0;
    std::uint32_t referenceFrames_ = 0;
    std::size_t marked_ = 0;
    unsigned threshold_ = 0;
    std::optional<CoefficientPlane> offsets_, gains_;
    Uniformity before_, after_;
};

} // namespace

int calibrate(const CommonOptions& options, const CalibrateOptions& calibrateOptions) {
    const host::Applet applet = loadApplet(options);
    const host::VirtualBoardFunctions& control = requireVirtualBoard(applet, "has a camera to calibrate");
    if (showCameraHelp(options, control, calibrateOptions.camera)) {
        return 0;
    }
    requireExtension(calibrateOptions.output, {".kcf"});
    for (const fs::path& picture : {calibrateOptions.before, calibrateOptions.after}) {
        if (!picture.empty()) {
            requireExtension(picture, {".png"});
        }
    }
    return Calibration(options, calibrateOptions, applet).run();
}

} // namespace qelm::tool
