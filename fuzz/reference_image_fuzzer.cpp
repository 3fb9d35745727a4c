// TIFF files as reference images of the shading correction: the reader, and the signals of what it read.

#include "fuzzer.h"

#include "features/shading/shading_arithmetic.h"
#include "vendor/nuvpix.h"
#include "virtual_board.h"

#include <algorithm>
#include <vector>

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace qelm;
    namespace shading = features::shading;
    static const fuzz::WorkingFolder folder;
    const std::string file = folder.write("input.tif", data, size);
    void* pixels = nullptr;
    shading::ReferenceImage image;
    std::int32_t samples = 0;
    if (readImage(file.c_str(), &pixels, &image.width, &image.height, &image.bitsPerSample, &samples) == 0) {
        fuzz::expect(pixels == nullptr, "what cannot be read gives nothing");
        fuzz::expect(virtualBoardResources().imageBuffers == 0, "and leaves nothing");
        return 0;
    }
    fuzz::expect(pixels != nullptr && image.width > 0 && image.height > 0 && samples > 0, "an image has pixels");
    if (samples == 1 && (image.bitsPerSample == 8 || image.bitsPerSample == 16)) {
        image.pixels = pixels;
        const shading::ReferenceImage none;
        // A black image that is smaller, so that both ways through a row are taken.
        std::vector<std::uint16_t> dark(static_cast<std::size_t>(image.width / 2 + 1), 300);
        const shading::ReferenceImage black = {
            .pixels = dark.data(), .width = image.width / 2 + 1, .height = 1, .bitsPerSample = 16};
        for (const shading::ReferenceImage& one : {none, black}) {
            const double largest = shading::largestSignal(image, one);
            const double mean = shading::meanSignal(image, one);
            fuzz::expect(largest >= 0.0 && largest <= 1.0, "a signal is part of full scale");
            fuzz::expect(mean <= largest + 1e-9 && mean >= -1.0, "the mean is not above the largest");
            fuzz::expect(largest == shading::largestSignal(image, one, shading::InstructionSet::baseline) &&
                             mean == shading::meanSignal(image, one, shading::InstructionSet::baseline),
                         "every instruction set finds the same");
        }
    }
    freeImage(pixels);
    fuzz::expect(virtualBoardResources().imageBuffers == 0, "nothing is left");
    return 0;
}
