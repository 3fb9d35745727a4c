#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <optional>

namespace qelm::virtual_board {

struct FreePixels {
    void operator()(void* pixels) const { std::free(pixels); }
};
using Pixels = std::unique_ptr<void, FreePixels>;

struct ImageFormat {
    std::int32_t width = 0, height = 0, bitsPerSample = 0, samplesPerPixel = 0;

    bool operator==(const ImageFormat&) const = default;
    /** Whether it is grey of 8 or 16 bits. */
    bool isGray() const { return (bitsPerSample == 8 || bitsPerSample == 16) && samplesPerPixel == 1; }
    /** Samples lie without gaps; a row begins at a byte. */
    std::size_t rowBytes() const {
        return (static_cast<std::size_t>(width) * static_cast<std::size_t>(samplesPerPixel) *
                    static_cast<std::size_t>(bitsPerSample) +
                7) /
               8;
    }
    std::size_t bytes() const { return rowBytes() * static_cast<std::size_t>(height); }
    /**
     * Whether such an image fits the library's interface (1 to 32 bits, at most 2 GiB) and can come out of
     * a file of `fileBytes`: no compression is so good that a small damaged file may make the reader take gigabytes.
     */
    bool isReasonable(std::uint64_t fileBytes = ~std::uint64_t{0}) const;
};

struct Image {
    ImageFormat format;
    Pixels pixels; /**< from malloc */
};

/**
 * Reads the first picture of a TIFF file, brightness growing with the value whatever the file's own sense, samples in
 * the order red, green, blue.
 *
 * @return nothing for a file that is missing, damaged, or holds what ImageFormat cannot describe: palettes, signed and
 *         floating-point samples, other colour spaces
 */
std::optional<Image> readImageFile(const std::filesystem::path& path);

/** The same of a PNG file, 16-bit samples in the machine's order. */
std::optional<Image> readPngFile(const std::filesystem::path& path);

/**
 * Writes an uncompressed grey TIFF of 8 or 16 bits.
 *
 * @return whether all of it was written; if not, no half file is left
 */
bool writeImageFile(const std::filesystem::path& path, const void* pixels, const ImageFormat& format);

/** The same as a PNG file. */
bool writePngFile(const std::filesystem::path& path, const void* pixels, const ImageFormat& format);

/** Removes what a failed write has left, unless it is no file at all but a device. */
void removeHalfFile(const std::filesystem::path& path);

} // namespace qelm::virtual_board
