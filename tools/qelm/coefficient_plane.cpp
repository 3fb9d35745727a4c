#include "coefficient_plane.h"

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <span>
#include <sstream>
#include <stdexcept>

namespace qelm::tool {
namespace {

constexpr std::uint16_t defective = 65535; // among the offsets
constexpr std::uint16_t noOffset = 0;
constexpr std::uint16_t unityGain = 4096;
constexpr double offsetOne = 16;

} // namespace

CoefficientPlane::CoefficientPlane(const Session& session, Kind kind)
    : kind_(kind)
    , one_(kind == Kind::offsets ? offsetOne : unityGain)
    , smallest_(defective) {
    const std::uint32_t buffer = kind == Kind::offsets ? 0 : 1;
    const std::uint16_t neutral = kind == Kind::offsets ? noOffset : unityGain;
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
        const std::span<const std::uint16_t> row(
            pixels + static_cast<std::size_t>(y) * static_cast<std::size_t>(stride), static_cast<std::size_t>(stride));
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

std::string CoefficientPlane::text() const {
    if (width_ == 0) {
        return "no correction";
    }
    std::ostringstream text;
    text << width_ << " x " << height_ << " pixels";
    if (counted_ > 0) {
        text << std::setprecision(6) << ", " << smallest_ / one_ << " to " << largest_ / one_ << ", mean " << mean();
    }
    if (defects_ > 0) {
        text << ", " << defects_ << " defective";
    }
    return text.str();
}

Json CoefficientPlane::json() const {
    return {{"width", width_},
            {"height", height_},
            {"minimum", counted_ > 0 ? Json(smallest_ / one_) : Json()},
            {"maximum", counted_ > 0 ? Json(largest_ / one_) : Json()},
            {"mean", counted_ > 0 ? Json(mean()) : Json()},
            {"defective", defects_}};
}

double CoefficientPlane::defectPercent() const {
    return width_ == 0 ? 0 : 100.0 * static_cast<double>(defects_) / width_ / height_;
}

Bitmap CoefficientPlane::picture(int size) const {
    const int step = std::max(1, (std::max(width_, height_) + size - 1) / size);
    Bitmap bitmap(std::max(1, (width_ + step - 1) / step), std::max(1, (height_ + step - 1) / step), 3, 0);
    for (int y = 0; y * step < height_; ++y) {
        for (int x = 0; x * step < width_; ++x) {
            paint(bitmap.at(x, y), x * step, y * step, step);
        }
    }
    return bitmap;
}

bool CoefficientPlane::isDefective(std::uint16_t coefficient) const {
    return kind_ == Kind::offsets && coefficient == defective;
}

void CoefficientPlane::addToStatistics(std::uint16_t coefficient) {
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
void CoefficientPlane::chooseScale(const std::vector<long long>& histogram) {
    const long long outliers = counted_ / 1000;
    darkest_ = smallest_;
    for (long long below = histogram[static_cast<std::size_t>(darkest_)]; below <= outliers && darkest_ < largest_;) {
        below += histogram[static_cast<std::size_t>(++darkest_)];
    }
    brightest_ = largest_;
    for (long long above = histogram[static_cast<std::size_t>(brightest_)];
         above <= outliers && brightest_ > darkest_;) {
        above += histogram[static_cast<std::size_t>(--brightest_)];
    }
}

void CoefficientPlane::paint(std::uint8_t* pixel, int left, int top, int step) const {
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

} // namespace qelm::tool
