// The image-file library.
#include "model/file_name.h"
#include "model/image_file.h"
#include "model/libraries/observer.h"
#include "model/libraries/process.h"
#include "surfaces/model_interface.h"

#include <string>

using namespace qelm::virtual_board;

namespace {

CallValue formatText(const ImageFormat& format) {
    return {std::to_string(format.width) + " x " + std::to_string(format.height) + ", " +
                std::to_string(format.samplesPerPixel) + " x " + std::to_string(format.bitsPerSample) + " bit",
            0, 0};
}

} // namespace

std::int32_t virtualBoard_writeImage(const char* path, const void* pixels, std::int32_t width, std::int32_t height,
                                     std::int32_t bitsPerSample, std::int32_t samplesPerPixel) {
    const ImageFormat format{width, height, bitsPerSample, samplesPerPixel};
    return observe(
               [&] {
                   return Call{nullptr, "writeImage", path == nullptr ? "" : path, false};
               },
               [&](const auto&) { return formatText(format); },
               [&] {
                   const bool written = path != nullptr && pixels != nullptr && format.isReasonable() &&
                                        writeImageFile(fromSystem(path), pixels, format);
                   return code(written ? ok : systemError);
               })
        .result;
}

std::int32_t virtualBoard_readImage(const char* path, void** pixels, std::int32_t* width, std::int32_t* height,
                                    std::int32_t* bitsPerSample, std::int32_t* samplesPerPixel) {
    ImageFormat format;
    const bool read = observe(
                          [&] {
                              return Call{nullptr, "readImage", path == nullptr ? "" : path, false};
                          },
                          [&](const auto& outcome) { return outcome.result ? formatText(format) : CallValue{}; },
                          [&]() -> Outcome<bool> {
                              if (path == nullptr || pixels == nullptr || width == nullptr || height == nullptr ||
                                  bitsPerSample == nullptr || samplesPerPixel == nullptr) {
                                  return failed<bool>(unknown);
                              }
                              std::optional<Image> image = readImageFile(fromSystem(path));
                              if (!image) {
                                  return failed<bool>(fileNotFound);
                              }
                              format = image->format;
                              *pixels = Process::instance().pixels.give(std::move(image->pixels));
                              *width = format.width;
                              *height = format.height;
                              *bitsPerSample = format.bitsPerSample;
                              *samplesPerPixel = format.samplesPerPixel;
                              return {true, ok};
                          })
                          .result;
    return read ? 1 : 0;
}

void virtualBoard_freeImage(void* pixels) {
    observe(
        [] {
            return Call{nullptr, "freeImage", "", false, false};
        },
        [](const auto&) { return CallValue{}; },
        [&] { return code(Process::instance().pixels.takeBack(pixels) ? ok : unknown); });
}
