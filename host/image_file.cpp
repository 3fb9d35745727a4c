#include "qelm/host/image_file.h"

#include "qelm/host/library.h"
#include "qelm/host/system.h"
#include "qelm/host/text.h"

#include <algorithm>
#include <memory>
#include <span>

namespace qelm::host {
namespace {

using ReadImage = std::int32_t(const char*, void**, std::int32_t*, std::int32_t*, std::int32_t*, std::int32_t*);
using FreeImage = void(void*);

template <class Sample>
std::uint32_t largestOf(const void* pixels, std::size_t count) {
    const std::span<const Sample> samples(static_cast<const Sample*>(pixels), count);
    return *std::ranges::max_element(samples);
}

} // namespace

std::optional<ImageSummary> summariseImage(const std::filesystem::path& file) {
    const std::optional<Library> library = Library::alreadyLoaded("nuvpix");
    if (!library) {
        return std::nullopt;
    }
    const auto read = reinterpret_cast<ReadImage*>(library->find(detail::exportName("readImage", 26)));
    const auto free = reinterpret_cast<FreeImage*>(library->find(detail::exportName("freeImage", 28)));
    void* pixels = nullptr;
    ImageSummary summary{};
    std::int32_t samplesPerPixel = 0;
    if (read == nullptr || free == nullptr ||
        read(systemFileName(file).c_str(), &pixels, &summary.width, &summary.height, &summary.bits, &samplesPerPixel) ==
            0) {
        return std::nullopt;
    }
    const std::unique_ptr<void, FreeImage*> owner(pixels, free);
    if (samplesPerPixel != 1 || (summary.bits != 8 && summary.bits != 16) || summary.width <= 0 ||
        summary.height <= 0) {
        return std::nullopt;
    }
    const std::size_t count = static_cast<std::size_t>(summary.width) * static_cast<std::size_t>(summary.height);
    summary.largest =
        summary.bits == 16 ? largestOf<std::uint16_t>(pixels, count) : largestOf<std::uint8_t>(pixels, count);
    return summary;
}

} // namespace qelm::host
