#pragma once

#include "output.h"
#include "png_file.h"
#include "session.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace qelm::tool {

/** One of the planes of shading coefficients that the design has loaded, as far as it differs from no correction. */
class CoefficientPlane {
  public:
    enum class Kind { offsets, gains };

    /** @throws std::runtime_error when the design has loaded none; the pixels are valid until the next load */
    CoefficientPlane(const Session& session, Kind kind);

    /** "640 x 480 pixels, 0.5 to 2, mean 1.01" */
    std::string text() const;
    Json json() const;
    /** How many pixels are marked as defective; gains mark none. */
    long long defects() const { return defects_; }
    /** In percent of those that are corrected. */
    double defectPercent() const;
    int width() const { return width_; }
    int height() const { return height_; }
    /** Scaled down so that the longer side has at most `size` pixels; each is the mean of those it stands for. */
    Bitmap picture(int size) const;

  private:
    std::uint16_t at(int x, int y) const {
        return pixels_[static_cast<std::size_t>(y) * static_cast<std::size_t>(stride_) + static_cast<std::size_t>(x)];
    }
    double mean() const { return sum_ / static_cast<double>(counted_) / one_; }
    bool isDefective(std::uint16_t coefficient) const;
    void addToStatistics(std::uint16_t coefficient);
    void chooseScale(const std::vector<long long>& histogram);
    void paint(std::uint8_t* pixel, int left, int top, int step) const;

    Kind kind_;
    const std::uint16_t* pixels_ = nullptr;
    int stride_ = 0;
    double one_; // the coefficient that stands for 1
    int width_ = 0;
    int height_ = 0;
    int smallest_;
    int largest_ = 0;
    int darkest_ = 0;   // what a picture shows as black
    int brightest_ = 0; // and as white
    double sum_ = 0.0;
    long long counted_ = 0;
    long long defects_ = 0;
};

} // namespace qelm::tool
