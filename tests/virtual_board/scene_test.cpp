#include "camera_fixture.h"
#include "model/camera/scene.h"
#include "model/crc32.h"
#include "model/image_file.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

namespace qelm::virtual_board {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

std::vector<std::uint16_t> pixelsOf(const Scene& scene) {
    std::vector<std::uint16_t> pixels;
    for (std::uint32_t y = 0; y < scene.height(); ++y) {
        const auto row = scene.row(y);
        pixels.insert(pixels.end(), row.begin(), row.end());
    }
    return pixels;
}

TEST(Scenes, KeepTheHighestTwelveBits) {
    const std::uint8_t bytes[] = {0, 1, 0x7F, 0xFF};
    EXPECT_THAT(pixelsOf(Scene::fromImage(bytes, 2, 2, 8)), ElementsAre(0, 0x10, 0x7F0, 0xFF0));
    const std::uint16_t words[] = {0, 0xF, 0x10, 0xFFFF};
    EXPECT_THAT(pixelsOf(Scene::fromImage(words, 4, 1, 16)), ElementsAre(0, 0, 1, 0xFFF));
    EXPECT_THAT(refusal([&] { Scene::fromImage(words, 4, 1, 12); }), HasSubstr("8 or 16 bits per pixel, not 12"));
    EXPECT_THAT(refusal([&] { Scene::fromImage(words, 4, 0, 8); }), HasSubstr("4 x 0"));
}

TEST(Scenes, LieInTheMiddleOfTheSensor) {
    const std::uint8_t bytes[] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
    const Scene scene = Scene::fromImage(bytes, 3, 3, 8);
    const struct {
        std::uint32_t width, height;
        std::vector<int> pixels; // before the conversion
    } cases[] = {
        {3, 3, {1, 2, 3, 4, 5, 6, 7, 8, 9}},
        {1, 1, {5}},
        {2, 2, {5, 6, 8, 9}},
        {5, 5, {0, 0, 0, 0, 0, 0, 1, 2, 3, 0, 0, 4, 5, 6, 0, 0, 7, 8, 9, 0, 0, 0, 0, 0, 0}},
        {4, 2, {4, 5, 6, 0, 7, 8, 9, 0}},
        {1, 4, {2, 5, 8, 0}},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(::testing::Message() << row.width << " x " << row.height);
        std::vector<int> seen;
        for (std::uint32_t y = 0; y < row.height; ++y) {
            std::vector<std::uint16_t> line(row.width, 0xFFFF);
            scene.project(y, row.height, line);
            std::transform(line.begin(), line.end(), std::back_inserter(seen), [](int pixel) { return pixel / 16; });
        }
        EXPECT_EQ(seen, row.pixels);
    }
}

TEST(Charts, ShowEveryMirroringAndSwap) {
    for (const auto& [width, height] : {std::pair{1024U, 1024U}, {256U, 128U}, {96U, 512U}}) {
        for (const std::string_view name : {"chart", "ramp"}) {
            SCOPED_TRACE(::testing::Message() << name << " " << width << " x " << height);
            const Scene scene = Scene::chart(name, width, height);
            const std::uint32_t halfWidth = width / 2, halfHeight = height / 2;
            const auto pixel = [&](std::uint32_t x, std::uint32_t y) { return scene.row(y)[x]; };
            // In each quadrant, how much differs from what a mistake would bring there.
            for (const std::uint32_t left : {0U, halfWidth}) {
                for (const std::uint32_t top : {0U, halfHeight}) {
                    std::uint32_t mirrored = 0, flipped = 0, swappedAcross = 0, swappedDown = 0;
                    for (std::uint32_t y = 0; y < halfHeight; ++y) {
                        for (std::uint32_t x = 0; x < halfWidth; ++x) {
                            const std::uint16_t own = pixel(left + x, top + y);
                            mirrored += own != pixel(left + halfWidth - 1 - x, top + y);
                            flipped += own != pixel(left + x, top + halfHeight - 1 - y);
                            swappedAcross += own != pixel((left + halfWidth) % width + x, top + y);
                            swappedDown += own != pixel(left + x, (top + halfHeight) % height + y);
                        }
                    }
                    const std::uint32_t tenth = halfWidth * halfHeight / 10;
                    EXPECT_GT(mirrored, tenth);
                    EXPECT_GT(flipped, tenth);
                    EXPECT_GT(swappedAcross, tenth);
                    EXPECT_GT(swappedDown, tenth);
                }
            }
        }
    }
}

TEST(Charts, ComeInEverySize) {
    for (const std::string_view name : Scene::chartNames()) {
        for (const auto& [width, height] : {std::pair{16U, 2U}, {2U, 16U}, {8192U, 2U}, {31U, 47U}, {97U, 101U}}) {
            SCOPED_TRACE(::testing::Message() << name << " " << width << " x " << height);
            const auto pixels = pixelsOf(Scene::chart(name, width, height));
            EXPECT_EQ(pixels.size(), std::size_t{width} * height);
            EXPECT_LE(*std::max_element(pixels.begin(), pixels.end()), Scene::white);
        }
    }
    EXPECT_EQ(fingerprint(pixelsOf(Scene::chart("chart", 320, 240))), 510932767563626709U); // as drawn on any platform
    EXPECT_EQ(pixelsOf(Scene::chart("gray", 2, 2)), std::vector<std::uint16_t>(4, 2048));
    EXPECT_EQ(refusal([] { Scene::chart("sunset", 16, 16); }),
              R"(there is no chart "sunset"; there are chart, ramp, black, gray, white)");
    EXPECT_THAT(refusal([] { Scene::chart("chart", 16, 8193); }), HasSubstr("16 x 8193"));
}

std::string bigEndian(std::uint32_t value) {
    std::string bytes;
    for (int shift = 24; shift >= 0; shift -= 8) {
        bytes += static_cast<char>(value >> shift);
    }
    return bytes;
}

/** A PNG file put together by hand, its data stored without compression. */
std::string png(std::uint32_t width, std::uint32_t height, char bits, char colourType, const std::string& samples) {
    const auto chunk = [](const std::string& content) { // of name and data
        return bigEndian(static_cast<std::uint32_t>(content.size() - 4)) + content +
               bigEndian(crc32(reinterpret_cast<const unsigned char*>(content.data()), content.size()));
    };
    std::string rows;
    const std::size_t rowBytes = samples.size() / height;
    for (std::size_t row = 0; row < height; ++row) {
        rows += '\0' + samples.substr(row * rowBytes, rowBytes); // no filter
    }
    std::uint32_t low = 1, high = 0;
    for (const char c : rows) {
        low = (low + static_cast<unsigned char>(c)) % 65521;
        high = (high + low) % 65521;
    }
    std::string stored("\x78\x01\x01", 3);
    for (const auto half : {rows.size(), ~rows.size()}) {
        stored += static_cast<char>(half);
        stored += static_cast<char>(half >> 8);
    }
    stored += rows + bigEndian(high << 16 | low);
    return "\x89PNG\r\n\x1A\n" +
           chunk("IHDR" + bigEndian(width) + bigEndian(height) + bits + colourType + std::string(3, '\0')) +
           chunk("IDAT" + stored) + chunk("IEND");
}

class SceneFiles : public ::testing::Test {
  protected:
    ~SceneFiles() override {
        std::error_code ignored;
        std::filesystem::remove(path_, ignored);
    }
    void write(const std::string& bytes) const { std::ofstream(path_, std::ios::binary) << bytes; }
    std::string refusalOfFile() const {
        return refusal([this] { Scene::fromFile(path_); });
    }

    const std::string path_ =
        (std::filesystem::temp_directory_path() /
         (std::string("qelm_scene_") + ::testing::UnitTest::GetInstance()->current_test_info()->name()))
            .string();
};

TEST_F(SceneFiles, TiffAndPngGiveTheSamePixels) {
    const std::string bytes = "\x10\x20\x30\x40\x50\x60";
    write(png(3, 2, 8, 0, bytes));
    EXPECT_THAT(pixelsOf(Scene::fromFile(path_)), ElementsAre(0x100, 0x200, 0x300, 0x400, 0x500, 0x600));
    write(png(3, 1, 16, 0, bytes));
    EXPECT_THAT(pixelsOf(Scene::fromFile(path_)), ElementsAre(0x102, 0x304, 0x506));
    ASSERT_TRUE(writeImageFile(path_.c_str(), bytes.data(), {3, 2, 8, 1}));
    EXPECT_THAT(pixelsOf(Scene::fromFile(path_)), ElementsAre(0x100, 0x200, 0x300, 0x400, 0x500, 0x600));
    const std::uint16_t words[] = {0x1020, 0x3040};
    ASSERT_TRUE(writeImageFile(path_.c_str(), words, {1, 2, 16, 1}));
    EXPECT_THAT(pixelsOf(Scene::fromFile(path_)), ElementsAre(0x102, 0x304));
}

TEST_F(SceneFiles, OthersAreRefusedWithASentence) {
    EXPECT_EQ(refusalOfFile(), "\"" + path_ + "\" cannot be opened");
    write("no picture");
    EXPECT_THAT(refusalOfFile(), HasSubstr("holds no picture that can be read: a grey TIFF or PNG of 8 or 16 bits"));
    write(png(1, 2, 8, 2, "rgbRGB"));
    EXPECT_THAT(refusalOfFile(), HasSubstr("is not grey: it has 3 samples per pixel"));
    write(png(8, 1, 4, 0, "four"));
    EXPECT_THAT(refusalOfFile(), HasSubstr("8 or 16 bits per pixel, not 4"));
    write(png(200'000, 200'000, 8, 0, std::string(200'000, '\x55')));
    EXPECT_THAT(refusalOfFile(), HasSubstr("holds no picture"));
    // What is no TIFF stays unknown to those who read TIFF alone.
    write(png(1, 1, 8, 0, "U"));
    EXPECT_FALSE(readImageFile(path_.c_str()));
}

TEST_F(SceneFiles, DamagedPngFilesAreReadOrRefusedInSilence) {
    const std::string sound = png(5, 3, 8, 0, "fifteen samples");
    std::mt19937 random(7);
    ::testing::internal::CaptureStderr();
    for (int round = 0; round < 200; ++round) {
        std::string damaged = sound;
        damaged[random() % damaged.size()] = static_cast<char>(random());
        write(round % 4 == 0 ? damaged.substr(0, random() % damaged.size()) : damaged);
        refusalOfFile();
    }
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
    write(sound.substr(0, sound.size() - 30));
    EXPECT_NE(refusalOfFile(), "");
}

} // namespace
} // namespace qelm::virtual_board
