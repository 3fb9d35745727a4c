// TIFF files through libtiff.
#include "model/image_file.h"

#include <tiffio.h>

#include <algorithm>
#include <cstdarg>
#include <cstring>
#include <filesystem>
#include <memory>
#include <system_error>
#include <vector>

namespace qelm::virtual_board {
namespace {

using Tiff = std::unique_ptr<TIFF, void (*)(TIFF*)>;

Tiff open(const std::filesystem::path& path, const char* mode) {
    // A damaged file is an answer here, not a message on the caller's error output.
    const auto silent = [](TIFF*, void*, const char*, const char*, std::va_list) { return 1; };
    const std::unique_ptr<TIFFOpenOptions, void (*)(TIFFOpenOptions*)> options(TIFFOpenOptionsAlloc(),
                                                                               TIFFOpenOptionsFree);
    if (!options) {
        return {nullptr, TIFFClose};
    }
    TIFFOpenOptionsSetErrorHandlerExtR(options.get(), silent, nullptr);
    TIFFOpenOptionsSetWarningHandlerExtR(options.get(), silent, nullptr);
    TIFFOpenOptionsSetMaxSingleMemAlloc(options.get(), tmsize_t{1} << 30);
    return {TIFFOpenExt(path.c_str(), mode, options.get()), TIFFClose};
}

template <typename Value>
Value field(TIFF* file, std::uint32_t tag, Value otherwise) {
    Value value = otherwise;
    return TIFFGetFieldDefaulted(file, tag, &value) == 1 ? value : otherwise;
}

struct Layout {
    ImageFormat format;
    bool separatePlanes = false;
    bool minIsWhite = false;
};

std::optional<Layout> layoutOf(TIFF* file, std::uint64_t fileBytes) {
    const auto width = field<std::uint32_t>(file, TIFFTAG_IMAGEWIDTH, 0);
    const auto height = field<std::uint32_t>(file, TIFFTAG_IMAGELENGTH, 0);
    const auto photometric = field<std::uint16_t>(file, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
    const bool known = photometric == PHOTOMETRIC_MINISBLACK || photometric == PHOTOMETRIC_MINISWHITE ||
                       photometric == PHOTOMETRIC_RGB;
    if (width > INT32_MAX || height > INT32_MAX || !known ||
        field<std::uint16_t>(file, TIFFTAG_SAMPLEFORMAT, SAMPLEFORMAT_UINT) != SAMPLEFORMAT_UINT) {
        return std::nullopt;
    }
    Layout layout;
    layout.format = {static_cast<std::int32_t>(width), static_cast<std::int32_t>(height),
                     field<std::uint16_t>(file, TIFFTAG_BITSPERSAMPLE, 1),
                     field<std::uint16_t>(file, TIFFTAG_SAMPLESPERPIXEL, 1)};
    layout.minIsWhite = photometric == PHOTOMETRIC_MINISWHITE;
    layout.separatePlanes =
        layout.format.samplesPerPixel > 1 &&
        field<std::uint16_t>(file, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG) == PLANARCONFIG_SEPARATE;
    const bool interleavable = !layout.separatePlanes || layout.format.bitsPerSample % 8 == 0;
    return layout.format.isReasonable(fileBytes) && interleavable ? std::optional(layout) : std::nullopt;
}

/** Where decoded rows of one plane go: the rows of the image, or every n-th sample of them. */
class Destination {
  public:
    Destination(unsigned char* pixels, const Layout& layout, std::uint16_t plane)
        : pixels_(pixels)
        , rowBytes_(layout.format.rowBytes()) {
        if (layout.separatePlanes) {
            sampleBytes_ = static_cast<std::size_t>(layout.format.bitsPerSample) / 8;
            stride_ = sampleBytes_ * static_cast<std::size_t>(layout.format.samplesPerPixel);
            pixels_ += sampleBytes_ * plane;
        }
    }

    /** Puts `count` bytes of decoded data at byte `start` of the plane's row. */
    void put(std::uint32_t row, std::size_t start, const unsigned char* bytes, std::size_t count) {
        unsigned char* target = pixels_ + rowBytes_ * row;
        if (sampleBytes_ == 0) {
            std::memcpy(target + start, bytes, count);
            return;
        }
        target += start / sampleBytes_ * stride_;
        for (; count >= sampleBytes_; count -= sampleBytes_, bytes += sampleBytes_, target += stride_) {
            std::memcpy(target, bytes, sampleBytes_);
        }
    }

  private:
    unsigned char* pixels_;
    std::size_t rowBytes_;
    std::size_t sampleBytes_ = 0; // 0: rows are whole
    std::size_t stride_ = 0;
};

bool readStrips(TIFF* file, std::uint32_t height, std::uint16_t plane, std::size_t planeRowBytes,
                Destination destination) {
    const tmsize_t length = TIFFScanlineSize(file);
    if (length < static_cast<tmsize_t>(planeRowBytes)) {
        return false;
    }
    std::vector<unsigned char> line(static_cast<std::size_t>(length));
    for (std::uint32_t row = 0; row < height; ++row) {
        if (TIFFReadScanline(file, line.data(), row, plane) != 1) {
            return false;
        }
        destination.put(row, 0, line.data(), planeRowBytes);
    }
    return true;
}

bool readTiles(TIFF* file, std::uint32_t width, std::uint32_t height, std::uint16_t plane, std::size_t planeRowBytes,
               Destination destination) {
    constexpr tmsize_t largestTile = tmsize_t{64} << 20;
    const tmsize_t length = TIFFTileSize(file);
    const tmsize_t rowLength = TIFFTileRowSize(file);
    const auto tileWidth = field<std::uint32_t>(file, TIFFTAG_TILEWIDTH, 0);
    const auto tileHeight = field<std::uint32_t>(file, TIFFTAG_TILELENGTH, 0);
    if (length <= 0 || length > largestTile || rowLength <= 0 || tileWidth == 0 || tileHeight == 0 ||
        static_cast<std::uint64_t>(rowLength) * tileHeight > static_cast<std::uint64_t>(length)) {
        return false;
    }
    const auto tileRowBytes = static_cast<std::size_t>(rowLength);
    std::vector<unsigned char> tile(static_cast<std::size_t>(length));
    for (std::uint32_t top = 0; top < height; top += std::min(tileHeight, height - top)) {
        std::size_t start = 0;
        for (std::uint32_t left = 0; left < width; left += std::min(tileWidth, width - left), start += tileRowBytes) {
            if (start >= planeRowBytes || TIFFReadTile(file, tile.data(), left, top, 0, plane) != length) {
                return false;
            }
            const std::size_t count = std::min(tileRowBytes, planeRowBytes - start);
            for (std::uint32_t row = 0; row < std::min(tileHeight, height - top); ++row) {
                destination.put(top + row, start, tile.data() + tileRowBytes * row, count);
            }
        }
    }
    return true;
}

} // namespace

std::optional<Image> readImageFile(const std::filesystem::path& path) {
    const Tiff file = open(path, "rm"); // not mapped: a file that shrinks meanwhile must not end the process
    std::error_code error;
    const std::uint64_t fileBytes = std::filesystem::file_size(path, error);
    const std::optional<Layout> layout = file && !error ? layoutOf(file.get(), fileBytes) : std::nullopt;
    if (!layout) {
        return std::nullopt;
    }
    const ImageFormat& format = layout->format;
    Image image{format, Pixels(std::malloc(format.bytes()))};
    if (!image.pixels) {
        return std::nullopt;
    }
    auto* pixels = static_cast<unsigned char*>(image.pixels.get());
    const auto width = static_cast<std::uint32_t>(format.width);
    const auto height = static_cast<std::uint32_t>(format.height);
    const auto planes = static_cast<std::uint16_t>(layout->separatePlanes ? format.samplesPerPixel : 1);
    const std::size_t planeRowBytes = format.rowBytes() / planes;
    for (std::uint16_t plane = 0; plane < planes; ++plane) {
        const Destination destination(pixels, *layout, plane);
        const bool complete = TIFFIsTiled(file.get()) != 0
                                  ? readTiles(file.get(), width, height, plane, planeRowBytes, destination)
                                  : readStrips(file.get(), height, plane, planeRowBytes, destination);
        if (!complete) {
            return std::nullopt;
        }
    }
    if (layout->minIsWhite) {
        std::transform(pixels, pixels + format.bytes(), pixels,
                       [](unsigned char byte) { return static_cast<unsigned char>(~byte); });
    }
    return image;
}

bool writeImageFile(const std::filesystem::path& path, const void* pixels, const ImageFormat& format) {
    if (!format.isGray()) {
        return false;
    }
    Tiff file = open(path, "w");
    if (!file) {
        return false;
    }
    const auto rowsPerStrip = static_cast<std::uint32_t>(std::clamp<std::size_t>(
        (std::size_t{1} << 20) / format.rowBytes(), 1, static_cast<std::size_t>(format.height)));
    TIFF* tiff = file.get();
    bool written = TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, static_cast<std::uint32_t>(format.width)) == 1 &&
                   TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, static_cast<std::uint32_t>(format.height)) == 1 &&
                   TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, format.bitsPerSample) == 1 &&
                   TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, format.samplesPerPixel) == 1 &&
                   TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK) == 1 &&
                   TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG) == 1 &&
                   TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_NONE) == 1 &&
                   TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, rowsPerStrip) == 1;
    // libtiff takes writable memory, but changes it only when it swaps bytes, which a file it creates never needs.
    auto* bytes = static_cast<unsigned char*>(const_cast<void*>(pixels));
    const std::size_t stripBytes = format.rowBytes() * rowsPerStrip;
    std::size_t left = format.bytes();
    for (std::uint32_t strip = 0; written && left > 0; ++strip) {
        const std::size_t count = std::min(stripBytes, left);
        written =
            TIFFWriteEncodedStrip(tiff, strip, bytes, static_cast<tmsize_t>(count)) == static_cast<tmsize_t>(count);
        bytes += count;
        left -= count;
    }
    written = written && TIFFFlush(tiff) == 1;
    file.reset();
    if (!written) {
        removeHalfFile(path);
    }
    return written;
}

} // namespace qelm::virtual_board
