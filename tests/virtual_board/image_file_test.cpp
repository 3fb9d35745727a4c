#include "fixture.h"

#include <algorithm>
#include <cstring>
#include <random>
#include <vector>

namespace qelm::test {
namespace {

enum class Compression : std::uint16_t { None = 1, Lzw = 5, Deflate = 8, PackBits = 32773 };

/** A TIFF file put together by hand, so that what is read does not depend on who wrote it. */
struct TiffFile {
    std::uint32_t width = 5, height = 3;
    std::uint16_t bits = 8, samples = 1, photometric = 1, planar = 1, sampleFormat = 1;
    Compression compression = Compression::None;
    bool bigEndian = false;
    std::uint32_t tileSide = 0;     // 0: strips
    std::uint32_t rowsPerStrip = 2; // of 3 rows, so that the last strip is short
    std::string decoded = {};       // rows of samples in the file's byte order

    std::string bytes() const {
        std::string file = bigEndian ? std::string("MM\0\x2A", 4) : std::string("II\x2A\0", 4);
        put(file, 0, 4); // patched below
        std::vector<std::string> parts = tileSide == 0 ? strips() : tiles();
        std::vector<std::uint32_t> offsets, counts;
        for (const std::string& part : parts) {
            const std::string packed = pack(part);
            offsets.push_back(static_cast<std::uint32_t>(file.size()));
            counts.push_back(static_cast<std::uint32_t>(packed.size()));
            file += packed + (packed.size() % 2 != 0 ? std::string(1, '\0') : std::string());
        }
        const bool tiled = tileSide != 0;
        std::vector<Entry> entries = {{256, 4, {width}},
                                      {257, 4, {height}},
                                      {258, 3, std::vector<std::uint32_t>(samples, bits)},
                                      {259, 3, {static_cast<std::uint32_t>(compression)}},
                                      {262, 3, {photometric}},
                                      {277, 3, {samples}},
                                      {284, 3, {planar}},
                                      {339, 3, std::vector<std::uint32_t>(samples, sampleFormat)}};
        if (tiled) {
            entries.insert(entries.end(),
                           {{322, 4, {tileSide}}, {323, 4, {tileSide}}, {324, 4, offsets}, {325, 4, counts}});
        } else {
            entries.insert(entries.end(), {{273, 4, offsets}, {278, 4, {rowsPerStrip}}, {279, 4, counts}});
        }
        std::sort(entries.begin(), entries.end(), [](const Entry& a, const Entry& b) { return a.tag < b.tag; });
        for (Entry& entry : entries) {
            entry.placeValues(*this, file);
        }
        std::string start;
        put(start, static_cast<std::uint32_t>(file.size()), 4);
        file.replace(4, 4, start);
        put(file, static_cast<std::uint32_t>(entries.size()), 2);
        for (const Entry& entry : entries) {
            put(file, entry.tag, 2);
            put(file, entry.type, 2);
            put(file, static_cast<std::uint32_t>(entry.values.size()), 4);
            file += entry.inPlace;
        }
        put(file, 0, 4);
        return file;
    }

  private:
    struct Entry {
        std::uint16_t tag, type;
        std::vector<std::uint32_t> values;
        std::string inPlace = {};

        void placeValues(const TiffFile& tiff, std::string& file) {
            const std::size_t size = type == 3 ? 2 : 4;
            std::string text;
            for (const std::uint32_t value : values) {
                tiff.put(text, value, size);
            }
            if (text.size() <= 4) {
                inPlace = text + std::string(4 - text.size(), '\0');
            } else {
                tiff.put(inPlace, static_cast<std::uint32_t>(file.size()), 4);
                file += text;
            }
        }
    };

    void put(std::string& to, std::uint32_t value, std::size_t count) const {
        for (std::size_t i = 0; i < count; ++i) {
            to += static_cast<char>(value >> (8 * (bigEndian ? count - 1 - i : i)));
        }
    }

    std::size_t rowBytes() const { return (std::size_t{width} * bits * (planar == 2 ? 1 : samples) + 7) / 8; }

    std::vector<std::string> strips() const {
        std::vector<std::string> result;
        const std::size_t planeBytes = rowBytes() * height;
        for (std::size_t plane = 0; plane < decoded.size(); plane += planeBytes) {
            for (std::size_t row = 0; row < height; row += rowsPerStrip) {
                result.push_back(decoded.substr(plane + row * rowBytes(),
                                                std::min<std::size_t>(rowsPerStrip, height - row) * rowBytes()));
            }
        }
        return result;
    }

    std::vector<std::string> tiles() const { // of samples of whole bytes
        const std::size_t pixelBytes = std::size_t{samples} * bits / 8;
        std::vector<std::string> result;
        for (std::size_t top = 0; top < height; top += tileSide) {
            for (std::size_t left = 0; left < width; left += tileSide) {
                std::string tile;
                for (std::size_t row = top; row < top + tileSide; ++row) {
                    std::string line = row < height
                                           ? decoded.substr(row * rowBytes() + left * pixelBytes,
                                                            std::min<std::size_t>(tileSide, width - left) * pixelBytes)
                                           : std::string();
                    line.resize(tileSide * pixelBytes);
                    tile += line;
                }
                result.push_back(tile);
            }
        }
        return result;
    }

    // Each in its plainest form: literals only.
    std::string pack(const std::string& part) const {
        std::string result;
        switch (compression) {
        case Compression::Lzw: {
            std::uint32_t held = 0, heldBits = 0;
            const auto code = [&](std::uint32_t value) {
                held = held << 9 | value;
                for (heldBits += 9; heldBits >= 8; heldBits -= 8) {
                    result += static_cast<char>(held >> (heldBits - 8));
                }
            };
            for (std::size_t i = 0; i < part.size(); ++i) {
                if (i % 200 == 0) {
                    code(256); // codes stay nine bits wide while the table is small
                }
                code(static_cast<unsigned char>(part[i]));
            }
            code(257);
            code(0);
            return result;
        }
        case Compression::Deflate: {
            result = std::string("\x78\x01\x01", 3);
            const auto length = static_cast<std::uint32_t>(part.size());
            std::uint32_t low = 1, high = 0;
            for (const std::uint32_t half : {length, ~length}) {
                result += static_cast<char>(half);
                result += static_cast<char>(half >> 8);
            }
            for (const char c : part) {
                low = (low + static_cast<unsigned char>(c)) % 65521;
                high = (high + low) % 65521;
            }
            result += part;
            for (const std::uint32_t half : {high, low}) {
                result += static_cast<char>(half >> 8);
                result += static_cast<char>(half);
            }
            return result;
        }
        case Compression::PackBits:
            for (std::size_t i = 0; i < part.size(); i += rowBytes()) {
                result += static_cast<char>(rowBytes() - 1) + part.substr(i, rowBytes());
            }
            return result;
        default:
            return part;
        }
    }
};

struct Reading {
    bool isImage = false;
    std::int32_t width = 0, height = 0, bits = 0, samples = 0;
    std::string pixels;
};

Reading readBack(const std::string& path) {
    Reading reading;
    void* pixels = nullptr;
    reading.isImage =
        readImage(path.c_str(), &pixels, &reading.width, &reading.height, &reading.bits, &reading.samples) != 0;
    if (reading.isImage) {
        const auto rowBytes = static_cast<std::size_t>((reading.width * reading.samples * reading.bits + 7) / 8);
        reading.pixels.assign(static_cast<const char*>(pixels), rowBytes * static_cast<std::size_t>(reading.height));
        EXPECT_EQ(virtualBoardResources().imageBuffers, 1);
    }
    freeImage(pixels);
    EXPECT_EQ(virtualBoardResources().imageBuffers, 0);
    return reading;
}

TEST(ImageFiles, ReadsEveryLayoutToTheSamePixels) {
    std::string grey8, grey16, rgb, planes;
    for (int i = 0; i < 15; ++i) {
        grey8 += static_cast<char>(i * 17);
        grey16 += std::string{static_cast<char>(i * 17), static_cast<char>(i)}; // little endian
        rgb += std::string{static_cast<char>(i), static_cast<char>(100 + i), static_cast<char>(200 + i)};
    }
    for (std::size_t i = 0; i < rgb.size(); ++i) {
        planes += rgb[i % 15 * 3 + i / 15];
    }
    std::string inverted8 = grey8, swapped16 = grey16, inverted16 = grey16;
    for (char& c : inverted8) {
        c = static_cast<char>(~c);
    }
    for (char& c : inverted16) {
        c = static_cast<char>(~c);
    }
    for (std::size_t i = 0; i < swapped16.size(); i += 2) {
        std::swap(swapped16[i], swapped16[i + 1]);
    }
    const struct {
        const char* what;
        TiffFile file;
        std::int32_t bits, samples;
        const std::string& pixels;
    } cases[] = {
        {"strips", {.decoded = grey8}, 8, 1, grey8},
        {"LZW", {.compression = Compression::Lzw, .decoded = grey8}, 8, 1, grey8},
        {"Deflate", {.compression = Compression::Deflate, .decoded = grey8}, 8, 1, grey8},
        {"PackBits", {.compression = Compression::PackBits, .decoded = grey8}, 8, 1, grey8},
        {"tiles", {.tileSide = 16, .decoded = grey8}, 8, 1, grey8},
        {"16 bit", {.bits = 16, .decoded = grey16}, 16, 1, grey16},
        {"16 bit, big endian", {.bits = 16, .bigEndian = true, .decoded = swapped16}, 16, 1, grey16},
        {"16 bit LZW tiles, big endian",
         {.bits = 16, .compression = Compression::Lzw, .bigEndian = true, .tileSide = 16, .decoded = swapped16},
         16,
         1,
         grey16},
        {"min is white", {.photometric = 0, .decoded = inverted8}, 8, 1, grey8},
        {"16 bit, min is white", {.bits = 16, .photometric = 0, .decoded = inverted16}, 16, 1, grey16},
        {"colour", {.samples = 3, .photometric = 2, .decoded = rgb}, 8, 3, rgb},
#ifndef _WIN32 // Wine's imaging component refuses planes
        {"colour planes", {.samples = 3, .photometric = 2, .planar = 2, .decoded = planes}, 8, 3, rgb},
#endif
    };
    const TemporaryFolder folder;
    for (const auto& row : cases) {
        SCOPED_TRACE(row.what);
        const std::string path = folder.file("image.tiff");
        writeFile(path, row.file.bytes());
        const Reading reading = readBack(path);
        ASSERT_TRUE(reading.isImage);
        EXPECT_EQ(reading.width, 5);
        EXPECT_EQ(reading.height, 3);
        EXPECT_EQ(reading.bits, row.bits);
        EXPECT_EQ(reading.samples, row.samples);
        EXPECT_EQ(reading.pixels, row.pixels);
    }
}

TEST(ImageFiles, RefusesWhatItCannotTell) {
    const std::string pixels(15, '\x55');
    const std::pair<const char*, TiffFile> cases[] = {
        {"floating point", {.bits = 32, .sampleFormat = 3, .decoded = std::string(60, '\0')}},
        {"absurdly large", {.width = 2000000000, .height = 2000000000, .rowsPerStrip = 4000000000U}},
        {"too large", {.width = 60000, .height = 60000, .rowsPerStrip = 60000}},
        {"without width", {.width = 0, .decoded = {}}},
        {"unknown compression", {.compression = static_cast<Compression>(999), .decoded = pixels}},
    };
    const TemporaryFolder folder;
    const std::string path = folder.file("image.tiff");
    for (const auto& [what, file] : cases) {
        SCOPED_TRACE(what);
        writeFile(path, file.bytes());
        EXPECT_FALSE(readBack(path).isImage);
    }
    for (const std::string& bytes : {std::string(), std::string("no picture"), std::string("II\x2A\0", 4)}) {
        writeFile(path, bytes);
        EXPECT_FALSE(readBack(path).isImage);
    }
    EXPECT_FALSE(readBack(folder.file("none.tiff")).isImage);
    EXPECT_EQ(readImage(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr), 0);
    freeImage(nullptr);
}

TEST(ImageFiles, SurvivesDamagedFilesInSilence) {
    const TemporaryFolder folder;
    const std::string path = folder.file("image.tiff");
    std::mt19937 random(26);
    ::testing::internal::CaptureStderr();
    for (const Compression compression : {Compression::None, Compression::Lzw, Compression::Deflate}) {
        const TiffFile file{.compression = compression, .decoded = std::string(15, '\x33')};
        const std::string sound = file.bytes();
        for (int round = 0; round < 40; ++round) {
            std::string damaged = sound;
            damaged[random() % damaged.size()] = static_cast<char>(random());
            damaged[random() % damaged.size()] = static_cast<char>(random());
            writeFile(path, round % 4 == 0 ? damaged.substr(0, random() % damaged.size()) : damaged);
            readBack(path);
        }
    }
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
}

TEST(ImageFiles, WritesWhatItReadsAndLeavesNoHalfFile) {
    const TemporaryFolder folder;
    const std::string path = folder.file("image.tiff");
    std::string pixels;
    for (int i = 0; i < 2 * 33 * 7; ++i) {
        pixels += static_cast<char>(i);
    }
    for (const std::int32_t bits : {8, 16}) {
        SCOPED_TRACE(bits);
        ASSERT_EQ(writeImage(path.c_str(), pixels.data(), 33, 7, bits, 1), 0);
        const Reading reading = readBack(path);
        EXPECT_EQ(reading.width, 33);
        EXPECT_EQ(reading.height, 7);
        EXPECT_EQ(reading.bits, bits);
        EXPECT_EQ(reading.pixels, pixels.substr(0, static_cast<std::size_t>(33 * 7 * bits / 8)));
    }
    std::filesystem::remove(path);
    EXPECT_NE(writeImage(path.c_str(), pixels.data(), 33, 7, 12, 1), 0);
    EXPECT_NE(writeImage(path.c_str(), pixels.data(), 0, 7, 8, 1), 0);
    EXPECT_NE(writeImage(path.c_str(), nullptr, 33, 7, 8, 1), 0);
    EXPECT_FALSE(std::filesystem::exists(path));
    EXPECT_NE(writeImage(folder.file("none/image.tiff").c_str(), pixels.data(), 33, 7, 8, 1), 0);
}

} // namespace
} // namespace qelm::test
