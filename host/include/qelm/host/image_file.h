#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>

namespace qelm::host {

/** What a grey image file holds. */
struct ImageSummary {
    std::int32_t width, height;
    std::int32_t bits;     ///< of a sample, 8 or 16
    std::uint32_t largest; ///< sample
};

/**
 * Reads a grey image of 8 or 16 bits with the image-file library that a loaded applet links.
 *
 * @return nothing when there is no such library, or the file holds no such image
 */
std::optional<ImageSummary> summariseImage(const std::filesystem::path& file);

} // namespace qelm::host
