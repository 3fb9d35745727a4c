#pragma once

#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <vector>

namespace qelm::tool {

/** A picture of 8 bits per sample, one sample (grey) or three (red, green, blue) per pixel. */
struct Bitmap {
    Bitmap(int width_, int height_, int samples_, std::uint8_t value)
        : width(width_)
        , height(height_)
        , samples(samples_)
        , pixels(static_cast<std::size_t>(width_) * static_cast<std::size_t>(height_) *
                     static_cast<std::size_t>(samples_),
                 value) {}

    std::uint8_t* at(int x, int y) {
        return &pixels[(static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x)) *
                       static_cast<std::size_t>(samples)];
    }

    int width, height, samples;
    std::vector<std::uint8_t> pixels;
};

/* Grey pictures of 8 bits, rows without gaps, as the bytes of a file. */

std::string encodePng(std::span<const std::uint8_t> pixels, int width, int height);
/** With losses. */
std::string encodeJpeg(std::span<const std::uint8_t> pixels, int width, int height);

/** @throws FileError */
void writePng(const std::filesystem::path& file, const Bitmap& bitmap);

} // namespace qelm::tool
