#include "png_file.h"

#include "output_file.h"

#include <new>

#define STB_IMAGE_WRITE_IMPLEMENTATION
#define STB_IMAGE_WRITE_STATIC
#define STBI_WRITE_NO_STDIO
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wunused-function"
#include <stb/stb_image_write.h>
#pragma GCC diagnostic pop

namespace qelm::tool {
namespace {

void append(void* text, void* bytes, int size) {
    static_cast<std::string*>(text)->append(static_cast<const char*>(bytes), static_cast<std::size_t>(size));
}

} // namespace

std::string encodePng(std::span<const std::uint8_t> pixels, int width, int height) {
    std::string picture;
    if (stbi_write_png_to_func(append, &picture, width, height, 1, pixels.data(), width) == 0) {
        throw std::bad_alloc(); // the one thing that can go wrong in it
    }
    return picture;
}

std::string encodeJpeg(std::span<const std::uint8_t> pixels, int width, int height) {
    constexpr int quality = 90;
    std::string picture;
    stbi_write_jpg_to_func(append, &picture, width, height, 1, pixels.data(), quality);
    return picture;
}

void writePng(const std::filesystem::path& file, const Bitmap& bitmap) {
    OutputFile output(file);
    const auto write = [](void* context, void* data, int size) {
        static_cast<OutputFile*>(context)->write(data, static_cast<std::size_t>(size));
    };
    const int encoded = stbi_write_png_to_func(write, &output, bitmap.width, bitmap.height, bitmap.samples,
                                               bitmap.pixels.data(), bitmap.width * bitmap.samples);
    if (encoded == 0) {
        throw std::bad_alloc();
    }
    output.commit();
}

} // namespace qelm::tool
