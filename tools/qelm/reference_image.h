#pragma once

#include <cstdint>
#include <filesystem>
#include <vector>

namespace qelm::tool {

/** A grey image as the applet's shading correction reads it. */
struct ReferenceImage {
    int width = 0;
    int height = 0;
    int bits = 0;                       ///< of a sample in the file: 8 or 16
    std::vector<std::uint16_t> samples; ///< row by row, as they are in the file
    std::uint16_t largest = 0;          ///< of the samples

    /** A sample as part of full scale, 0 to 1. */
    double part(std::size_t pixel) const { return samples[pixel] / (bits == 8 ? 255.0 : 65535.0); }
};

/**
 * Reads a file with the library that the applet reads it with, which must be loaded.
 *
 * @throws std::runtime_error when that reads no grey image of 8 or 16 bits from it
 */
ReferenceImage readReferenceImage(const std::filesystem::path& file);

} // namespace qelm::tool
