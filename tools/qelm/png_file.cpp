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

void writePng(const std::filesystem::path& file, const Bitmap& bitmap) {
    OutputFile output(file);
    const auto write = [](void* context, void* data, int size) {
        static_cast<OutputFile*>(context)->write(data, static_cast<std::size_t>(size));
    };
    const int encoded = stbi_write_png_to_func(write, &output, bitmap.width, bitmap.height, bitmap.samples,
                                               bitmap.pixels.data(), bitmap.width * bitmap.samples);
    if (encoded == 0) {
        throw std::bad_alloc(); // the one thing that can go wrong in it
    }
    output.commit();
}

} // namespace qelm::tool
