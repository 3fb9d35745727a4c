#include "model/image_file.h"

#include <system_error>

namespace qelm::virtual_board {

bool ImageFormat::isReasonable(std::uint64_t fileBytes) const {
    constexpr std::uint64_t mostBytes = std::uint64_t{2} << 30;
    constexpr std::uint64_t bestCompression = 65536;
    if (width <= 0 || height <= 0 || bitsPerSample < 1 || bitsPerSample > 32 || samplesPerPixel < 1 ||
        samplesPerPixel > 65535) {
        return false;
    }
    // Neither product can overflow: 31 + 16 + 5 bits, then at most 31 + 31.
    const std::uint64_t rowBits = std::uint64_t(width) * std::uint64_t(samplesPerPixel) * std::uint64_t(bitsPerSample);
    const std::uint64_t row = (rowBits + 7) / 8;
    return row <= mostBytes && row * std::uint64_t(height) <= mostBytes &&
           row * std::uint64_t(height) / bestCompression <= fileBytes;
}

void removeHalfFile(const std::filesystem::path& path) {
    std::error_code error;
    if (std::filesystem::is_regular_file(path, error)) {
        std::filesystem::remove(path, error);
    }
}

} // namespace qelm::virtual_board
