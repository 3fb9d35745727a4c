#include "model/image_path/image_path.h"

#include "model/image_path/dead_pixels.h"

#include <algorithm>
#include <stdexcept>

namespace qelm::virtual_board {
namespace {

constexpr std::uint16_t black = 0;
constexpr std::uint16_t noOffset = 0;

std::size_t columnsOf(const ImagePathSettings& settings) {
    return std::min(settings.region.width, frameLimit);
}

std::size_t rowsOf(const ImagePathSettings& settings) {
    return std::min(settings.region.height, frameLimit);
}

std::size_t bytesPerPixel(OutputFormat format) {
    return format == OutputFormat::bits8 ? 1 : 2;
}

/** The pixels that the frame has of a row of the region. */
std::span<const std::uint16_t> pixelsOf(const SortedFrame& frame, const ImageRegion& region, std::size_t row,
                                        std::size_t columns) {
    const std::size_t y = region.y + row;
    if (y >= frame.height || region.x >= frame.width) {
        return {};
    }
    return {frame.pixels.data() + y * frame.width + region.x, std::min<std::size_t>(frame.width - region.x, columns)};
}

/** The coefficients that a buffer has for a row of the region. */
std::span<const std::uint16_t> coefficientsOf(const CoefficientBuffer& buffer, std::size_t row, std::size_t columns) {
    constexpr std::size_t limit = CoefficientBuffer::planeLimit;
    const std::size_t x = std::size_t{buffer.xOffset} * 4;
    const std::size_t y = buffer.yOffset + row;
    if (buffer.plane == nullptr || row >= buffer.yLength || y >= limit || x >= limit) {
        return {};
    }
    return {buffer.plane + y * limit + x, std::min({std::size_t{buffer.xLength} * 4, limit - x, columns})};
}

} // namespace

std::size_t outputBytes(const ImagePathSettings& settings) {
    return columnsOf(settings) * rowsOf(settings) * bytesPerPixel(settings.format);
}

void ImagePath::RowFiller::start(std::size_t count, std::uint16_t others) {
    row_.assign(count, others);
    others_ = others;
    used_ = 0;
}

const std::uint16_t* ImagePath::RowFiller::completed(std::span<const std::uint16_t> given) {
    if (given.size() == row_.size()) {
        return given.data();
    }
    const auto end = std::copy(given.begin(), given.end(), row_.begin());
    const auto usedEnd = row_.begin() + static_cast<std::ptrdiff_t>(used_);
    std::fill(end, std::max(end, usedEnd), others_);
    used_ = given.size();
    return row_.data();
}

ImagePath::ImagePath(InstructionSet instructions) : kernels_(rowKernels(instructions)) {}

/** One frame on its way, row by row. */
struct ImagePath::Pass {
    ImagePath& path;
    const SortedFrame& frame;
    const ImagePathSettings& settings;
    std::size_t columns = columnsOf(settings);
    std::size_t rows = rowsOf(settings);

    std::uint16_t* corrected(std::size_t row) const { return path.corrected_[row % 4].data() + rowPadding; }

    void correct(std::size_t row) const {
        const auto none = std::span<const std::uint16_t>{};
        const auto pixels = pixelsOf(frame, settings.region, row, columns);
        const auto offsets = settings.enableOffset ? coefficientsOf(settings.offsets, row, columns) : none;
        const auto gains = settings.enableGain ? coefficientsOf(settings.gains, row, columns) : none;
        path.kernels_.correct(path.pixels_.completed(pixels), path.offsets_.completed(offsets),
                              path.gains_.completed(gains), corrected(row), columns);
    }

    void replaceDead(std::size_t row) const {
        std::array<MarkedRow, 3> around;
        for (std::size_t i = 0; i < around.size(); ++i) {
            const std::size_t neighbour = row + i - 1; // wraps around above the first row
            if (neighbour < rows) {
                around[i] = {corrected(neighbour), coefficientsOf(settings.offsets, neighbour, columns)};
            }
        }
        replaceDeadPixels(around, columns, path.kernels_);
    }

    /** Repeats the outer pixels, for the median. */
    void extend(std::size_t row) const {
        std::uint16_t* const pixels = corrected(row);
        pixels[-1] = pixels[0];
        pixels[columns] = pixels[columns - 1];
    }

    const std::uint16_t* filtered(std::size_t row) const {
        if (!settings.median) {
            return corrected(row);
        }
        path.kernels_.median(corrected(row > 0 ? row - 1 : row), corrected(row),
                             corrected(row + 1 < rows ? row + 1 : row), path.medians_.data(), columns);
        return path.medians_.data();
    }

    void put(std::size_t row, std::span<std::byte> picture) const {
        std::byte* const out = picture.data() + row * columns * bytesPerPixel(settings.format);
        if (settings.format == OutputFormat::bits8) {
            lookUp(filtered(row), columns, path.table8_, out);
        } else {
            lookUp(filtered(row), columns, path.table16_, out);
        }
    }
};

void ImagePath::process(const SortedFrame& frame, const ImagePathSettings& settings, std::span<std::byte> picture) {
    if (picture.size() < outputBytes(settings)) {
        throw std::length_error("no room for the picture");
    }
    const Pass pass{*this, frame, settings};
    if (pass.columns == 0) {
        return;
    }
    for (Row& row : corrected_) {
        row.resize(pass.columns + 2 * rowPadding);
    }
    medians_.resize(pass.columns);
    pixels_.start(pass.columns, black);
    offsets_.start(pass.columns, noOffset);
    gains_.start(pass.columns, static_cast<std::uint16_t>(settings.defaultGain));
    // Lookup table and output are one table.
    for (std::size_t i = 0; i < table8_.size(); ++i) {
        const auto pixel = static_cast<std::uint16_t>(settings.lookupTable[i] & brightest);
        table8_[i] = static_cast<std::uint8_t>(pixel >> 4);
        table16_[i] = static_cast<std::uint16_t>(settings.leftAligned ? pixel << 4 : pixel);
    }
    // Each step looks one row further than the next one: a row is replaced when the row below it is corrected, and put
    // out when the row below it is replaced.
    for (std::size_t step = 0; step < pass.rows + 2; ++step) {
        if (step < pass.rows) {
            pass.correct(step);
        }
        if (step >= 1 && step <= pass.rows) {
            if (settings.deadPixelReplacement) {
                pass.replaceDead(step - 1);
            }
            pass.extend(step - 1);
        }
        if (step >= 2) {
            pass.put(step - 2, picture);
        }
    }
}

} // namespace qelm::virtual_board
