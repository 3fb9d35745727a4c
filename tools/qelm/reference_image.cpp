#include "reference_image.h"

#include "qelm/host/library.h"
#include "qelm/host/text.h"

#include "vendor/nuvpix.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <stdexcept>

namespace qelm::tool {

ReferenceImage readReferenceImage(const std::filesystem::path& file) {
    const std::optional<host::Library> library = host::Library::alreadyLoaded("nuvpix");
    if (!library) {
        throw std::logic_error("the library that reads images is not loaded");
    }
    decltype(&::readImage) read = nullptr;
    decltype(&::freeImage) free = nullptr;
    library->resolve(read, "readImage");
    library->resolve(free, "freeImage");

    ReferenceImage image;
    void* pixels = nullptr;
    std::int32_t samplesPerPixel = 0;
    const bool isRead = read(host::systemFileName(file).c_str(), &pixels, &image.width, &image.height, &image.bits,
                             &samplesPerPixel) != 0 &&
                        pixels != nullptr;
    const std::unique_ptr<void, decltype(free)> owner(pixels, free);
    if (!isRead || samplesPerPixel != 1 || (image.bits != 8 && image.bits != 16) || image.width <= 0 ||
        image.height <= 0) {
        throw std::runtime_error("\"" + file.string() + "\" is no grey TIFF file of 8 or 16 bits that could be read");
    }
    image.samples.resize(static_cast<std::size_t>(image.width) * static_cast<std::size_t>(image.height));
    if (image.bits == 8) {
        std::copy_n(static_cast<const std::uint8_t*>(pixels), image.samples.size(), image.samples.begin());
    } else {
        std::memcpy(image.samples.data(), pixels, image.samples.size() * sizeof(std::uint16_t));
    }
    image.largest = *std::ranges::max_element(image.samples);
    return image;
}

} // namespace qelm::tool
