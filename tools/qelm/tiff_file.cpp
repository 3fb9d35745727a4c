#include "tiff_file.h"

#include <array>
#include <utility>

namespace qelm::tool {
namespace {

enum Type : std::uint16_t { ascii = 2, shortNumber = 3, longNumber = 4, rational = 5 };

enum Tag : std::uint16_t {
    newSubfileType = 254,
    imageWidth = 256,
    imageLength = 257,
    bitsPerSample = 258,
    compression = 259,
    photometricInterpretation = 262,
    imageDescription = 270,
    stripOffsets = 273,
    samplesPerPixel = 277,
    rowsPerStrip = 278,
    stripByteCounts = 279,
    xResolution = 282,
    yResolution = 283,
    resolutionUnit = 296,
    pageNumber = 297,
    software = 305,
};

constexpr std::uint32_t onePageOfMany = 2, uncompressed = 1, blackIsZero = 1, noUnit = 1;
constexpr std::string_view headerBytes("II\x2A\0\x08\0\0\0", 8); // low byte first; the first page follows at once
constexpr std::size_t entryCount = 16;
constexpr std::size_t directorySize = 2 + entryCount * 12 + 4;
constexpr std::string_view program("qelm\0\0", 6); // padded to whole words
constexpr std::size_t resolutionSize = 8;

std::size_t even(std::size_t size) {
    return size + size % 2;
}

/** A page's directory, in the order of its tags, as the format wants it. */
class Directory {
  public:
    Directory() { append(entryCount, 2); }

    void add(Tag tag, Type type, std::uint32_t count, std::uint32_t value) {
        append(tag, 2);
        append(type, 2);
        append(count, 4);
        append(value, 4); // of numbers of 16 bits, too: they lie in the low bytes
    }
    std::string finish(std::uint32_t next) {
        append(next, 4);
        return std::move(bytes_);
    }

  private:
    void append(std::uint32_t value, int size) {
        for (int i = 0; i < size; ++i) {
            bytes_ += static_cast<char>(value >> 8 * i & 0xFF);
        }
    }

    std::string bytes_;
};

/** Where the parts of a page lie that begins at a position of the file. */
struct Layout {
    Layout(std::uint64_t start, const host::FrameFormat& format, std::size_t descriptionSize)
        : resolution(start + directorySize)
        , programName(resolution + resolutionSize)
        , description(programName + program.size())
        , pixels(description + even(descriptionSize))
        , end(pixels + even(format.bytes())) {}

    std::uint64_t resolution, programName, description, pixels, end;
};

} // namespace

TiffFile::TiffFile(const std::filesystem::path& file) : output_(file), file_(file) {}

void TiffFile::add(host::Frame frame, std::string description) {
    description += '\0';
    const std::uint32_t number = waiting_ ? waiting_->number + 1 : 0;
    std::uint64_t start = headerBytes.size();
    if (waiting_) {
        start = Layout(position_, waiting_->frame.format(), waiting_->description.size()).end;
    }
    if (Layout(start, frame.format(), description.size()).end > largestSize) {
        throw std::runtime_error("\"" + file_.string() + "\" would grow beyond 4 GiB with page " +
                                 std::to_string(number + 1) +
                                 ", which a TIFF file cannot: take files of one picture "
                                 "each, or raw frames");
    }
    writePage(false);
    output_.check();
    position_ = start;
    waiting_.emplace(Page{std::move(frame), std::move(description), number});
}

void TiffFile::writePage(bool isLast) {
    if (!waiting_) {
        output_.write(headerBytes);
        return;
    }
    const auto& [frame, description, number] = *waiting_;
    const host::FrameFormat& format = frame.format();
    const Layout layout(position_, format, description.size());
    const auto at = [](std::uint64_t offset) { return static_cast<std::uint32_t>(offset); };
    Directory directory;
    directory.add(newSubfileType, longNumber, 1, number == 0 && isLast ? 0 : onePageOfMany);
    directory.add(imageWidth, longNumber, 1, static_cast<std::uint32_t>(format.width));
    directory.add(imageLength, longNumber, 1, static_cast<std::uint32_t>(format.height));
    directory.add(bitsPerSample, shortNumber, 1, static_cast<std::uint32_t>(format.bits));
    directory.add(compression, shortNumber, 1, uncompressed);
    directory.add(photometricInterpretation, shortNumber, 1, blackIsZero);
    directory.add(imageDescription, ascii, at(description.size()), at(layout.description));
    directory.add(stripOffsets, longNumber, 1, at(layout.pixels));
    directory.add(samplesPerPixel, shortNumber, 1, 1);
    directory.add(rowsPerStrip, longNumber, 1, static_cast<std::uint32_t>(format.height));
    directory.add(stripByteCounts, longNumber, 1, at(format.bytes()));
    directory.add(xResolution, rational, 1, at(layout.resolution));
    directory.add(yResolution, rational, 1, at(layout.resolution));
    directory.add(resolutionUnit, shortNumber, 1, noUnit);
    directory.add(pageNumber, shortNumber, 2, number & 0xFFFF); // and 0: of an unknown number
    directory.add(software, ascii, 5, at(layout.programName));
    output_.write(directory.finish(isLast ? 0 : at(layout.end)));
    output_.write(std::string_view("\1\0\0\0\1\0\0\0", resolutionSize));
    output_.write(program);
    output_.write(description);
    output_.write(std::string_view("\0", description.size() % 2));
    output_.write(frame.bytes().data(), format.bytes());
    output_.write(std::string_view("\0", format.bytes() % 2));
}

void TiffFile::commit() {
    if (waiting_) {
        writePage(true);
        output_.commit();
    }
}

} // namespace qelm::tool
