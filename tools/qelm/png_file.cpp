#include "png_file.h"

#include <fstream>
#include <stdexcept>

#define STB_IMAGE_WRITE_IMPLEMENTATION
#define STB_IMAGE_WRITE_STATIC
#define STBI_WRITE_NO_STDIO
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wunused-function"
#include <stb/stb_image_write.h>
#pragma GCC diagnostic pop

namespace qelm::tool {

void writePng(const std::filesystem::path& file, const Bitmap& bitmap) {
    std::ofstream stream(file, std::ios::binary);
    const auto write = [](void* context, void* data, int size) {
        static_cast<std::ofstream*>(context)->write(static_cast<const char*>(data), size);
    };
    const int encoded = stbi_write_png_to_func(write, &stream, bitmap.width, bitmap.height, bitmap.samples,
                                               bitmap.pixels.data(), bitmap.width * bitmap.samples);
    stream.close();
    if (encoded == 0 || !stream) {
        throw std::runtime_error("\"" + file.string() + "\" cannot be written");
    }
}

} // namespace qelm::tool
