#include "output.h"
#include "output_file.h"
#include "png_file.h"
#include "progress.h"
#include "set_up.h"

#include "qelm/host/image_file.h"

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <iostream>
#include <span>
#include <sstream>
#include <stdexcept>

namespace qelm::tool {
namespace {

constexpr std::uint16_t defective = 65535; // among the offsets

/** One of the planes that the design has loaded, as far as it differs from no correction. */
class Plane {
  public:
    // The coefficients that stand for 1.
    static constexpr double offsetOne = 16.0;
    static constexpr double gainOne = 4096.0;

    Plane(const Session& session, std::uint32_t buffer, std::uint16_t neutral, double one) : one_(one) {
        const std::uint16_t* pixels = nullptr;
        std::int32_t stride = 0;
        std::int32_t rows = 0;
        const auto* control = session.board().applet().virtualBoard();
        if (control->coefficients(session.board().virtualBoard(), buffer, &pixels, &stride, &rows) != 0) {
            throw std::runtime_error("the design has loaded no coefficients");
        }
        pixels_ = pixels;
        stride_ = stride;
        for (int y = 0; y < rows; ++y) {
            const std::span<const std::uint16_t> row(pixels +
                                                         static_cast<std::size_t>(y) * static_cast<std::size_t>(stride),
                                                     static_cast<std::size_t>(stride));
            const auto last = std::find_if(row.rbegin(), row.rend(), [&](std::uint16_t c) { return c != neutral; });
            if (last != row.rend()) {
                width_ = std::max(width_, static_cast<int>(row.rend() - last));
                height_ = y + 1;
            }
        }
        std::vector<long long> histogram(defective + 1);
        for (int y = 0; y < height_; ++y) {
            for (int x = 0; x < width_; ++x) {
                addToStatistics(at(x, y));
                ++histogram[at(x, y)];
            }
        }
        chooseScale(histogram);
    }

    /** "640 x 480 pixels, 0.5 to 2, mean 1.01" */
    std::string text() const {
        if (width_ == 0) {
            return "no correction";
        }
        std::ostringstream text;
        text << width_ << " x " << height_ << " pixels";
        if (counted_ > 0) {
            text << std::setprecision(6) << ", " << smallest_ / one_ << " to " << largest_ / one_ << ", mean "
                 << mean();
        }
        if (defects_ > 0) {
            text << ", " << defects_ << " defective";
        }
        return text.str();
    }

    Json json() const {
        return {{"width", width_},
                {"height", height_},
                {"minimum", counted_ > 0 ? Json(smallest_ / one_) : Json()},
                {"maximum", counted_ > 0 ? Json(largest_ / one_) : Json()},
                {"mean", counted_ > 0 ? Json(mean()) : Json()},
                {"defective", defects_}};
    }

    /** Defective pixels in percent of those that are corrected. */
    double defectPercent() const { return width_ == 0 ? 0 : 100.0 * static_cast<double>(defects_) / width_ / height_; }

    /** Scaled down so that the longer side has at most `size` pixels; each is the mean of those it stands for. */
    Bitmap picture(int size) const {
        const int step = std::max(1, (std::max(width_, height_) + size - 1) / size);
        Bitmap bitmap(std::max(1, (width_ + step - 1) / step), std::max(1, (height_ + step - 1) / step), 3, 0);
        for (int y = 0; y * step < height_; ++y) {
            for (int x = 0; x * step < width_; ++x) {
                paint(bitmap.at(x, y), x * step, y * step, step);
            }
        }
        return bitmap;
    }

  private:
    std::uint16_t at(int x, int y) const {
        return pixels_[static_cast<std::size_t>(y) * static_cast<std::size_t>(stride_) + static_cast<std::size_t>(x)];
    }
    double mean() const { return sum_ / static_cast<double>(counted_) / one_; }
    bool isDefective(std::uint16_t coefficient) const { return one_ == offsetOne && coefficient == defective; }

    void addToStatistics(std::uint16_t coefficient) {
        if (isDefective(coefficient)) {
            ++defects_;
            return;
        }
        smallest_ = std::min<int>(smallest_, coefficient);
        largest_ = std::max<int>(largest_, coefficient);
        sum_ += coefficient;
        ++counted_;
    }

    /** Black and white leave a thousandth out at either end: single outliers would hide all the rest. */
    void chooseScale(const std::vector<long long>& histogram) {
        const long long outliers = counted_ / 1000;
        darkest_ = smallest_;
        for (long long below = histogram[static_cast<std::size_t>(darkest_)];
             below <= outliers && darkest_ < largest_;) {
            below += histogram[static_cast<std::size_t>(++darkest_)];
        }
        brightest_ = largest_;
        for (long long above = histogram[static_cast<std::size_t>(brightest_)];
             above <= outliers && brightest_ > darkest_;) {
            above += histogram[static_cast<std::size_t>(--brightest_)];
        }
    }

    void paint(std::uint8_t* pixel, int left, int top, int step) const {
        double sum = 0.0;
        int count = 0;
        for (int y = top; y < std::min(top + step, height_); ++y) {
            for (int x = left; x < std::min(left + step, width_); ++x) {
                if (isDefective(at(x, y))) { // a single one must not vanish
                    pixel[0] = 255;
                    pixel[1] = pixel[2] = 0;
                    return;
                }
                sum += at(x, y);
                ++count;
            }
        }
        const double range = std::max(1, brightest_ - darkest_);
        const double level = std::clamp((sum / count - darkest_) / range, 0.0, 1.0);
        std::fill_n(pixel, 3, static_cast<std::uint8_t>(std::lround(level * 255.0)));
    }

    const std::uint16_t* pixels_ = nullptr;
    int stride_ = 0;
    double one_;
    int width_ = 0;
    int height_ = 0;
    int smallest_ = defective;
    int largest_ = 0;
    int darkest_ = 0;   // what a picture shows as black
    int brightest_ = 0; // and as white
    double sum_ = 0.0;
    long long counted_ = 0;
    long long defects_ = 0;
};

/**
 * Says what is likely to be meant otherwise: a reference covers the whole camera, and samples of 16 bits are
 * left-aligned.
 */
void checkReference(const Session& session, const std::filesystem::path& file) {
    const std::optional<host::ImageSummary> image = host::summariseImage(file);
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
        const Plane offsets(session, 0, 0, Plane::offsetOne);
        const Plane gains(session, 1, 4096, Plane::gainOne);
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
