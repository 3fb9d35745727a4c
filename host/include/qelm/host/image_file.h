#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <vector>

namespace qelm::host {

/** A grey image as the applet reads it. */
struct GrayImage {
    std::int32_t width = 0, height = 0;
    std::int32_t bits = 0;              ///< of a sample in the file, 8 or 16
    std::vector<std::uint16_t> samples; ///< row by row, as they are in the file
    std::uint16_t largest = 0;          ///< sample
};

/**
 * Reads a grey image of 8 or 16 bits with the image-file library that a loaded applet links.
 *
 * @return nothing when there is no such library, or the file holds no such image
 */
std::optional<GrayImage> readGrayImage(const std::filesystem::path& file);

} // namespace qelm::host
