#include "qelm/host/image_file.h"

#include "qelm/host/library.h"
#include "qelm/host/system.h"
#include "qelm/host/text.h"

#include <algorithm>
#include <cstring>
#include <memory>

namespace qelm::host {
namespace {

using ReadImage = std::int32_t(const char*, void**, std::int32_t*, std::int32_t*, std::int32_t*, std::int32_t*);
using FreeImage = void(void*);

} // namespace

std::optional<GrayImage> readGrayImage(const std::filesystem::path& file) {
    const std::optional<Library> library = Library::alreadyLoaded("nuvpix");
    if (!library) {
        return std::nullopt;
    }
    const auto read = reinterpret_cast<ReadImage*>(library->find(detail::exportName("readImage", 26)));
    const auto free = reinterpret_cast<FreeImage*>(library->find(detail::exportName("freeImage", 28)));
    void* pixels = nullptr;
    GrayImage image;
    std::int32_t samplesPerPixel = 0;
    if (read == nullptr || free == nullptr ||
        read(systemFileName(file).c_str(), &pixels, &image.width, &image.height, &image.bits, &samplesPerPixel) == 0) {
        return std::nullopt;
    }
    const std::unique_ptr<void, FreeImage*> owner(pixels, free);
    if (samplesPerPixel != 1 || (image.bits != 8 && image.bits != 16) || image.width <= 0 || image.height <= 0) {
        return std::nullopt;
    }
    image.samples.resize(static_cast<std::size_t>(image.width) * static_cast<std::size_t>(image.height));
    if (image.bits == 8) {
        std::copy_n(static_cast<const std::uint8_t*>(pixels), image.samples.size(), image.samples.begin());
    } else {
        std::memcpy(image.samples.data(), pixels, image.samples.size() * sizeof image.samples.front());
    }
    image.largest = *std::ranges::max_element(image.samples);
    return image;
}

} // namespace qelm::host
