#include "model/camera/scene.h"

#include "model/camera/camera_error.h"
#include "model/camera/charts.h"
#include "model/file_name.h"
#include "model/image_file.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <optional>

namespace qelm::virtual_board {
namespace {

std::string sizeText(std::uint32_t width, std::uint32_t height) {
    return std::to_string(width) + " x " + std::to_string(height);
}

/** Where `inner` starts when it lies in the middle of `outer`; negative when it is the larger one. */
std::int64_t margin(std::uint32_t outer, std::uint32_t inner) {
    return (std::int64_t{outer} - inner) >> 1; // rounded down
}

template <class Value, class Convert>
void convertTo(std::vector<std::uint16_t>& to, const void* from, Convert convert) {
    const auto* bytes = static_cast<const unsigned char*>(from);
    for (std::uint16_t& pixel : to) {
        Value value{};
        std::memcpy(&value, bytes, sizeof value); // not aligned, perhaps
        bytes += sizeof value;
        pixel = static_cast<std::uint16_t>(convert(value));
    }
}

} // namespace

std::span<const std::string_view> Scene::chartNames() {
    return charts::names();
}

Scene Scene::chart(std::string_view name, std::uint32_t width, std::uint32_t height) {
    const auto [smallest, largest] = chartSides;
    if (std::min(width, height) < smallest || std::max(width, height) > largest) {
        throw CameraError("a chart has sides of " + std::to_string(smallest) + " to " + std::to_string(largest) +
                          " pixels, not " + sizeText(width, height));
    }
    const charts::Draw draw = charts::find(name);
    if (draw == nullptr) {
        std::string known;
        for (const std::string_view each : chartNames()) {
            known.append(known.empty() ? "" : ", ").append(each);
        }
        throw CameraError("there is no chart \"" + std::string(name) + "\"; there are " + known);
    }
    Scene scene(width, height);
    draw(scene.pixels_, width, height);
    return scene;
}

Scene Scene::fromImage(const void* pixels, std::uint32_t width, std::uint32_t height, unsigned bits) {
    if (bits != 8 && bits != 16) {
        throw CameraError("a scene has 8 or 16 bits per pixel, not " + std::to_string(bits));
    }
    if (std::min(width, height) == 0 || std::max(width, height) > largestSide) {
        throw CameraError("a scene has sides of 1 to " + std::to_string(largestSide) + " pixels, not " +
                          sizeText(width, height));
    }
    Scene scene(width, height);
    if (bits == 8) {
        convertTo<std::uint8_t>(scene.pixels_, pixels, [](unsigned value) { return value << 4; });
    } else {
        convertTo<std::uint16_t>(scene.pixels_, pixels, [](unsigned value) { return value >> 4; });
    }
    return scene;
}

Scene Scene::fromFile(const std::string& path) {
    const std::filesystem::path file = fromUtf8(path.c_str());
    if (!std::ifstream(file, std::ios::binary)) {
        throw CameraError("\"" + path + "\" cannot be opened");
    }
    std::optional<Image> image = readImageFile(file);
    if (!image) {
        image = readPngFile(file);
    }
    if (!image) {
        throw CameraError("\"" + path + "\" holds no picture that can be read: a grey TIFF or PNG of 8 or 16 bits");
    }
    const ImageFormat& format = image->format;
    if (format.samplesPerPixel != 1) {
        throw CameraError("\"" + path + "\" is not grey: it has " + std::to_string(format.samplesPerPixel) +
                          " samples per pixel");
    }
    try {
        return fromImage(image->pixels.get(), static_cast<std::uint32_t>(format.width),
                         static_cast<std::uint32_t>(format.height), static_cast<unsigned>(format.bitsPerSample));
    } catch (const CameraError& error) {
        throw CameraError("\"" + path + "\": " + error.what());
    }
}

void Scene::project(std::uint32_t y, std::uint32_t height, std::span<std::uint16_t> row) const {
    const std::int64_t sceneY = y - margin(height, height_);
    if (sceneY < 0 || sceneY >= height_) {
        std::fill(row.begin(), row.end(), std::uint16_t{0});
        return;
    }
    const std::int64_t left = margin(static_cast<std::uint32_t>(row.size()), width_);
    const auto skipped = static_cast<std::size_t>(std::max<std::int64_t>(-left, 0));
    const auto black = static_cast<std::size_t>(std::max<std::int64_t>(left, 0));
    const std::size_t count = std::min(row.size() - black, width_ - skipped);
    const std::span<const std::uint16_t> from = this->row(static_cast<std::uint32_t>(sceneY)).subspan(skipped, count);
    std::fill_n(row.begin(), black, std::uint16_t{0});
    const auto end = std::copy(from.begin(), from.end(), row.begin() + static_cast<std::ptrdiff_t>(black));
    std::fill(end, row.end(), std::uint16_t{0});
}

} // namespace qelm::virtual_board
