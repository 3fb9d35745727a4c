// PNG files through libpng.
#include "model/image_file.h"

#include <bit>
#include <csetjmp>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <system_error>
#include <vector>

#include <png.h>

namespace qelm::virtual_board {
namespace {

[[noreturn]] void leave(png_structp png, png_const_charp) {
    png_longjmp(png, 1);
}

void stayQuiet(png_structp, png_const_charp) {}

/** libpng's reading state. What libpng leaves by longjmp has no destructors to run. */
class PngReader {
  public:
    explicit PngReader(std::FILE* file)
        : png_(png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, leave, stayQuiet)) {
        if (png_ != nullptr) {
            info_ = png_create_info_struct(png_);
            png_init_io(png_, file);
        }
    }
    ~PngReader() { png_destroy_read_struct(&png_, &info_, nullptr); }
    PngReader(const PngReader&) = delete;
    PngReader& operator=(const PngReader&) = delete;

    /** @return whether the file has a header that `format` can describe */
    bool readHeader(ImageFormat& format) {
        if (info_ == nullptr || setjmp(png_jmpbuf(png_)) != 0) {
            return false;
        }
        png_read_info(png_, info_);
        format.width = static_cast<std::int32_t>(png_get_image_width(png_, info_));
        format.height = static_cast<std::int32_t>(png_get_image_height(png_, info_));
        format.bitsPerSample = png_get_bit_depth(png_, info_);
        format.samplesPerPixel = png_get_channels(png_, info_);
        return png_get_color_type(png_, info_) != PNG_COLOR_TYPE_PALETTE;
    }

    /** @param rows  of the format in the header */
    bool readRows(png_bytepp rows) {
        if (setjmp(png_jmpbuf(png_)) != 0) {
            return false;
        }
        if constexpr (std::endian::native == std::endian::little) {
            png_set_swap(png_);
        }
        png_set_interlace_handling(png_);
        png_read_image(png_, rows);
        png_read_end(png_, nullptr);
        return true;
    }

  private:
    png_structp png_;
    png_infop info_ = nullptr;
};

/** libpng's writing state, with the same rules. */
class PngWriter {
  public:
    explicit PngWriter(std::FILE* file)
        : png_(png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, leave, stayQuiet)) {
        if (png_ != nullptr) {
            info_ = png_create_info_struct(png_);
            png_init_io(png_, file);
        }
    }
    ~PngWriter() { png_destroy_write_struct(&png_, &info_); }
    PngWriter(const PngWriter&) = delete;
    PngWriter& operator=(const PngWriter&) = delete;

    bool write(const unsigned char* pixels, const ImageFormat& format) {
        if (info_ == nullptr || setjmp(png_jmpbuf(png_)) != 0) {
            return false;
        }
        png_set_IHDR(png_, info_, static_cast<png_uint_32>(format.width), static_cast<png_uint_32>(format.height),
                     format.bitsPerSample, PNG_COLOR_TYPE_GRAY, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
                     PNG_FILTER_TYPE_DEFAULT);
        png_write_info(png_, info_);
        if constexpr (std::endian::native == std::endian::little) {
            png_set_swap(png_);
        }
        for (std::int32_t y = 0; y < format.height; ++y) {
            png_write_row(png_, pixels + format.rowBytes() * static_cast<std::size_t>(y));
        }
        png_write_end(png_, nullptr);
        return true;
    }

  private:
    png_structp png_;
    png_infop info_ = nullptr;
};

} // namespace

bool writePngFile(const std::filesystem::path& path, const void* pixels, const ImageFormat& format) {
    std::FILE* file = format.isGray() ? std::fopen(path.c_str(), "wb") : nullptr;
    if (file == nullptr) {
        return false;
    }
    bool written = PngWriter(file).write(static_cast<const unsigned char*>(pixels), format);
    written = std::fclose(file) == 0 && written;
    if (!written) {
        removeHalfFile(path);
    }
    return written;
}

std::optional<Image> readPngFile(const std::filesystem::path& path) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"), std::fclose);
    std::error_code error;
    const std::uint64_t fileBytes = std::filesystem::file_size(path, error);
    if (!file || error) {
        return std::nullopt;
    }
    PngReader reader(file.get());
    Image image;
    if (!reader.readHeader(image.format) || !image.format.isReasonable(fileBytes)) {
        return std::nullopt;
    }
    image.pixels.reset(std::malloc(image.format.bytes()));
    if (!image.pixels) {
        return std::nullopt;
    }
    std::vector<png_bytep> rows(static_cast<std::size_t>(image.format.height));
    auto* row = static_cast<png_bytep>(image.pixels.get());
    for (png_bytep& each : rows) {
        each = row;
        row += image.format.rowBytes();
    }
    if (!reader.readRows(rows.data())) {
        return std::nullopt;
    }
    return image;
}

} // namespace qelm::virtual_board
