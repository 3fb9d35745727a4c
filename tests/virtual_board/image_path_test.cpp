// The virtual board's image path: frames from the camera's taps, and pictures beside a plain loop over single pixels.

#include "model/image_path/image_path.h"
#include "model/image_path/tap_sorting.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>
#include <random>
#include <stdexcept>
#include <vector>

namespace qelm::virtual_board {
namespace {

using Random = std::mt19937;

std::uint32_t upTo(Random& random, std::uint32_t limit) {
    return static_cast<std::uint32_t>(random() % (std::uint64_t{limit} + 1));
}

// Sorting of taps

constexpr std::uint32_t endsToMiddle = 0xE4CA; // Geometry_2XE_2YE
constexpr std::uint32_t leftToRight = 0xE4C0;  // Geometry_2X_2YE
constexpr std::uint32_t middleToEnds = 0xE4C5; // Geometry_2XM_2YE

/** Noise of 12 bits, of which a camera with fewer sends the upper ones. */
SortedFrame scene(std::uint32_t width, std::uint32_t height, LinkFormat format = LinkFormat::bits12) {
    Random random(width * 10000 + height);
    SortedFrame frame{
        .width = width, .height = height, .pixels = std::vector<std::uint16_t>(std::size_t{width} * height)};
    const std::uint32_t sent = 0xFFFU << (12 - bitsOf(format)) & 0xFFF;
    std::ranges::generate(frame.pixels, [&] { return static_cast<std::uint16_t>(random() & sent); });
    return frame;
}

std::span<std::uint16_t> row(SortedFrame& frame, std::size_t y) {
    return std::span(frame.pixels).subspan(y * frame.width, frame.width);
}

/** A camera that reads its scene out as the GenICam naming of the geometries tells. */
class Camera final : public LinkFrame {
  public:
    Camera(const SortedFrame& scene, std::uint32_t geometry, LinkFormat format)
        : scene_(scene)
        , geometry_(geometry)
        , format_(format) {}

    std::uint32_t lines() const override { return scene_.height / 2; } // the middle one of an odd number is not sent
    std::uint32_t clocks() const override { return scene_.width / 2; }

    void line(std::uint32_t index, std::span<LinkWord> words) const override {
        const std::uint32_t bottom = scene_.height - 1 - index;
        for (std::uint32_t clock = 0; clock < clocks(); ++clock) {
            words[clock] = onPorts({pixel(leftColumn(clock), index), pixel(rightColumn(clock), index),
                                    pixel(leftColumn(clock), bottom), pixel(rightColumn(clock), bottom)},
                                   format_);
        }
    }

  private:
    std::uint32_t leftColumn(std::uint32_t clock) const {
        return geometry_ == middleToEnds ? clocks() - 1 - clock : clock;
    }
    std::uint32_t rightColumn(std::uint32_t clock) const {
        return geometry_ == endsToMiddle ? scene_.width - 1 - clock : clocks() + clock;
    }
    std::uint16_t pixel(std::uint32_t x, std::uint32_t y) const {
        return static_cast<std::uint16_t>(scene_.pixels[y * scene_.width + x] >> (12 - bitsOf(format_)));
    }

    const SortedFrame& scene_;
    std::uint32_t geometry_;
    LinkFormat format_;
};

/** The words as the applet computes them. */
TapSorting wordsFor(std::uint32_t geometry, std::uint32_t width, std::uint32_t height,
                    LinkFormat format = LinkFormat::bits12) {
    TapSorting words{.format = format,
                     .imageWidth = width / 16,
                     .imageHeight = 2 * height,
                     .lineLength = width / 2,
                     .rightLeftLast = width / 16 - 1,
                     .divisor = height,
                     .split = height,
                     .append = height,
                     .lastLine = height / 2 - 1};
    for (std::size_t tap = 0; tap < 4; ++tap) {
        words.topDown[tap] = 1 - (geometry >> (tap + 4) & 1);
        words.mirror[tap] = words.mirrorGroup[tap] = geometry >> tap & 1;
        words.select[tap] = geometry >> (8 + 2 * tap) & 3;
    }
    return words;
}

std::vector<std::uint16_t> sorted(const LinkFrame& link, const TapSorting& words) {
    SortedFrame frame;
    sortTaps(link, words, frame);
    EXPECT_EQ(frame.pixels.size(), std::size_t{frame.width} * frame.height);
    return frame.pixels;
}

TEST(TapSorting, BringsTheSceneBackInEachGeometry) {
    for (const std::uint32_t geometry : {endsToMiddle, leftToRight, middleToEnds}) {
        for (const LinkFormat format : {LinkFormat::bits8, LinkFormat::bits10, LinkFormat::bits12}) {
            for (const auto& [width, height] : {std::pair{16U, 2U}, {16, 3}, {32, 7}, {48, 10}, {208, 64}}) {
                SCOPED_TRACE(testing::Message() << std::hex << geometry << std::dec << ", " << width << " x " << height
                                                << ", " << bitsOf(format) << " bits");
                SortedFrame expected = scene(width, height, format);
                const Camera camera(expected, geometry, format);
                SortedFrame frame = scene(64, 64); // used before
                sortTaps(camera, wordsFor(geometry, width, height, format), frame);
                if (height % 2 == 1) {
                    std::ranges::fill(row(expected, height / 2), std::uint16_t{0});
                }
                EXPECT_EQ(frame.width, width);
                EXPECT_EQ(frame.height, height);
                EXPECT_EQ(frame.pixels, expected.pixels);
            }
        }
    }
}

TEST(TapSorting, EveryWordMatters) {
    constexpr std::uint32_t width = 64, height = 12;
    const SortedFrame expected = scene(width, height);
    const Camera camera(expected, endsToMiddle, LinkFormat::bits12);
    const TapSorting right = wordsFor(endsToMiddle, width, height);
    ASSERT_EQ(sorted(camera, right), expected.pixels);

    for (const std::uint32_t other : {leftToRight, middleToEnds}) {
        EXPECT_NE(sorted(camera, wordsFor(other, width, height)), expected.pixels);
    }
    std::vector<TapSorting> wrong;
    for (TapSorting::OfTaps TapSorting::*words :
         {&TapSorting::topDown, &TapSorting::mirror, &TapSorting::mirrorGroup, &TapSorting::select}) {
        for (std::size_t tap = 0; tap < 4; ++tap) {
            wrong.push_back(right);
            (wrong.back().*words)[tap] ^= 1;
        }
    }
    for (std::uint32_t TapSorting::*word :
         {&TapSorting::imageWidth, &TapSorting::imageHeight, &TapSorting::lineLength, &TapSorting::rightLeftLast,
          &TapSorting::divisor, &TapSorting::split, &TapSorting::append, &TapSorting::lastLine}) {
        wrong.push_back(right);
        wrong.back().*word -= 2;
    }
    for (const LinkFormat format : {LinkFormat::bits8, LinkFormat::bits10}) {
        wrong.push_back(right);
        wrong.back().format = format;
    }
    for (std::size_t i = 0; i < wrong.size(); ++i) {
        EXPECT_NE(sorted(camera, wrong[i]), expected.pixels) << i;
    }
}

TEST(TapSorting, ACameraOfAnotherHeightIsCutOrLeavesBlackRowsInTheMiddle) {
    constexpr std::uint32_t width = 32, set = 8;
    for (const std::uint32_t height : {4U, 12U}) {
        SortedFrame sent = scene(width, height);
        const Camera camera(sent, leftToRight, LinkFormat::bits12);
        SortedFrame expected{.width = width, .pixels = std::vector<std::uint16_t>(std::size_t{width} * set)};
        for (std::uint32_t y = 0; y < std::min(height, set) / 2; ++y) {
            std::ranges::copy(row(sent, y), row(expected, y).begin());
            std::ranges::copy(row(sent, height - 1 - y), row(expected, set - 1 - y).begin());
        }
        EXPECT_EQ(sorted(camera, wordsFor(leftToRight, width, set)), expected.pixels) << height;
    }
}

TEST(TapSorting, AnyWordsAreSafe) {
    Random random(1);
    const auto word = [&] {
        constexpr std::array limits{3U, 40U, 9000U, ~0U};
        return upTo(random, limits[random() % limits.size()]);
    };
    for (int i = 0; i < 300; ++i) {
        const SortedFrame sent = scene(16 * upTo(random, 6), upTo(random, 12));
        const Camera camera(sent, leftToRight, LinkFormat::bits12);
        TapSorting words{.format = static_cast<LinkFormat>(upTo(random, 3)),
                         .imageWidth = upTo(random, 8),
                         .imageHeight = upTo(random, 30),
                         .lineLength = word(),
                         .rightLeftLast = word(),
                         .divisor = word(),
                         .split = word(),
                         .append = word(),
                         .lastLine = word()};
        for (TapSorting::OfTaps TapSorting::*ofTaps :
             {&TapSorting::topDown, &TapSorting::mirror, &TapSorting::mirrorGroup, &TapSorting::select}) {
            std::ranges::generate(words.*ofTaps, word);
        }
        SortedFrame used = scene(96, 20);
        sortTaps(camera, words, used);
        EXPECT_EQ(used.pixels, sorted(camera, words)) << "something of an earlier frame is left";
    }
    const SortedFrame none = scene(0, 0);
    SortedFrame frame;
    sortTaps(Camera(none, leftToRight, LinkFormat::bits8), {.imageWidth = ~0U, .imageHeight = ~0U}, frame);
    EXPECT_EQ(frame.width, frameLimit);
    EXPECT_EQ(frame.height, frameLimit);
}

// From frame to picture

constexpr std::size_t planeLimit = CoefficientBuffer::planeLimit;

/** A plane of which the corners are used; the system has memory for nothing else. */
class Plane {
  public:
    Plane() : coefficients_(static_cast<std::uint16_t*>(std::calloc(planeLimit * planeLimit, 2)), &std::free) {
        if (!coefficients_) {
            throw std::bad_alloc();
        }
    }
    template <typename Coefficient>
    void fill(std::size_t x, std::size_t y, std::size_t columns, std::size_t rows, Coefficient&& coefficient) {
        for (std::size_t row = y; row < std::min(y + rows, planeLimit); ++row) {
            for (std::size_t column = x; column < std::min(x + columns, planeLimit); ++column) {
                coefficients_[row * planeLimit + column] = coefficient();
            }
        }
    }
    const std::uint16_t* data() const { return coefficients_.get(); }

  private:
    std::unique_ptr<std::uint16_t[], decltype(&std::free)> coefficients_;
};

/** The image path, one pixel at a time. */
class PlainPath {
  public:
    PlainPath(const SortedFrame& frame, const ImagePathSettings& settings) : frame_(frame), settings_(settings) {}

    std::vector<std::byte> picture() const {
        std::vector<std::byte> bytes;
        for (std::int64_t y = 0; y < settings_.region.height; ++y) {
            for (std::int64_t x = 0; x < settings_.region.width; ++x) {
                const std::uint32_t pixel = settings_.lookupTable[settings_.median ? median(x, y) : replaced(x, y)];
                const std::uint32_t level = pixel & 0xFFF;
                if (settings_.format == OutputFormat::bits8) {
                    bytes.push_back(static_cast<std::byte>(level >> 4));
                    continue;
                }
                const std::uint32_t aligned = settings_.leftAligned ? level << 4 : level;
                bytes.push_back(static_cast<std::byte>(aligned));
                bytes.push_back(static_cast<std::byte>(aligned >> 8));
            }
        }
        return bytes;
    }

  private:
    static std::optional<std::uint32_t> coefficient(const CoefficientBuffer& buffer, std::int64_t x, std::int64_t y) {
        const std::int64_t column = std::int64_t{buffer.xOffset} * 4 + x;
        const std::int64_t row = std::int64_t{buffer.yOffset} + y;
        const auto limit = static_cast<std::int64_t>(planeLimit);
        if (buffer.plane == nullptr || x >= std::int64_t{buffer.xLength} * 4 || y >= buffer.yLength ||
            column >= limit || row >= limit) {
            return std::nullopt;
        }
        return buffer.plane[row * limit + column];
    }

    std::int64_t corrected(std::int64_t x, std::int64_t y) const {
        const std::int64_t column = settings_.region.x + x;
        const std::int64_t row = settings_.region.y + y;
        const bool inside = column < frame_.width && row < frame_.height;
        std::int64_t level = inside ? frame_.pixels[static_cast<std::size_t>(row * frame_.width + column)] : 0;
        level *= 16;
        if (settings_.enableOffset && !dead(x, y)) {
            level -= coefficient(settings_.offsets, x, y).value_or(0);
        }
        const auto gain = settings_.enableGain ? coefficient(settings_.gains, x, y) : std::nullopt;
        return std::min<std::int64_t>(std::max<std::int64_t>(level, 0) * gain.value_or(settings_.defaultGain) / 65536,
                                      4095);
    }

    bool dead(std::int64_t x, std::int64_t y) const { return coefficient(settings_.offsets, x, y) == 65535; }

    std::uint32_t replaced(std::int64_t x, std::int64_t y) const {
        std::vector<std::int64_t> around;
        if (settings_.deadPixelReplacement && dead(x, y)) {
            for (std::int64_t row = std::max<std::int64_t>(y - 1, 0); row <= std::min(y + 1, lastRow()); ++row) {
                for (std::int64_t column = std::max<std::int64_t>(x - 1, 0); column <= std::min(x + 1, lastColumn());
                     ++column) {
                    if (!dead(column, row)) {
                        around.push_back(corrected(column, row));
                    }
                }
            }
        }
        std::ranges::sort(around);
        return static_cast<std::uint32_t>(around.empty() ? corrected(x, y) : around[(around.size() - 1) / 2]);
    }

    std::uint32_t median(std::int64_t x, std::int64_t y) const {
        std::vector<std::uint32_t> around;
        for (std::int64_t row = y - 1; row <= y + 1; ++row) {
            for (std::int64_t column = x - 1; column <= x + 1; ++column) {
                around.push_back(replaced(std::clamp<std::int64_t>(column, 0, lastColumn()),
                                          std::clamp<std::int64_t>(row, 0, lastRow())));
            }
        }
        std::ranges::sort(around);
        return around[4];
    }

    std::int64_t lastColumn() const { return std::int64_t{settings_.region.width} - 1; }
    std::int64_t lastRow() const { return std::int64_t{settings_.region.height} - 1; }

    const SortedFrame& frame_;
    const ImagePathSettings& settings_;
};

/** Where a buffer's region starts, and how long it is compared with the image's. */
CoefficientBuffer anyBuffer(Random& random, std::uint32_t width, std::uint32_t height, const Plane& plane) {
    const bool atTheEnd = random() % 4 == 0;
    return {.xOffset = atTheEnd ? 2048 - upTo(random, 3) : upTo(random, 3),
            .xLength = random() % 3 == 0 ? upTo(random, width / 4) : (width + 3) / 4,
            .yOffset = atTheEnd ? 8192 - upTo(random, 3) : upTo(random, 3),
            .yLength = random() % 3 == 0 ? upTo(random, height) : height,
            .plane = random() % 8 == 0 ? nullptr : plane.data()};
}

#ifdef __x86_64__
TEST(ImagePath, UsesTheProcessorsLargestInstructionSetOnEverySystem) {
    EXPECT_EQ(bestInstructionSet() == InstructionSet::avx2, __builtin_cpu_supports("avx2") != 0);
}
#endif

TEST(ImagePath, EqualsAPlainLoopOverThePixels) {
    Random random(2);
    const auto chance = [&](unsigned percent) { return random() % 100 < percent; };
    Plane offsets, gains;
    std::array<ImagePath, 2> paths{ImagePath(InstructionSet::baseline), ImagePath(bestInstructionSet())};
    std::array<std::uint32_t, 4096> table;
    std::ranges::generate(table, [&] { return static_cast<std::uint32_t>(random()); });

    for (int i = 0; i < 300; ++i) {
        const bool wide = i % 50 == 0; // more than kernels take at once
        const std::uint32_t width = 1 + upTo(random, wide ? 1100 : 70);
        const std::uint32_t height = 1 + upTo(random, 9);
        SortedFrame frame = scene(16 * upTo(random, wide ? 80 : 6), upTo(random, 14));
        const unsigned bright = chance(50) ? 0xFFF : 0x1FF; // dark frames meet the offsets
        std::ranges::for_each(frame.pixels, [&](std::uint16_t& pixel) { pixel &= static_cast<std::uint16_t>(bright); });
        const std::array densities{0U, 0U, 5U, 60U, 100U};
        const unsigned deadPixels = densities[random() % densities.size()];
        const auto offset = [&] { return static_cast<std::uint16_t>(chance(deadPixels) ? 65535 : random() % 9000); };
        const auto gain = [&] { return static_cast<std::uint16_t>(chance(5) ? random() : 3000 + random() % 4000); };
        for (const std::size_t corner : {std::size_t{0}, planeLimit - 16}) {
            offsets.fill(corner, corner, width + 16, height + 4, offset);
            gains.fill(corner, corner, width + 16, height + 4, gain);
        }
        const ImagePathSettings settings{
            .region = {chance(5) ? ~0U : upTo(random, 40), chance(5) ? ~0U : upTo(random, 6), width, height},
            .offsets = anyBuffer(random, width, height, offsets),
            .gains = anyBuffer(random, width, height, gains),
            .enableOffset = chance(80),
            .enableGain = chance(80),
            .defaultGain = chance(50) ? 4096 : upTo(random, 65535),
            .deadPixelReplacement = chance(70),
            .median = chance(50),
            .lookupTable = table,
            .format = chance(50) ? OutputFormat::bits8 : OutputFormat::bits16,
            .leftAligned = chance(50)};

        const std::vector<std::byte> expected = PlainPath(frame, settings).picture();
        ASSERT_EQ(outputBytes(settings), expected.size());
        for (ImagePath& path : paths) {
            std::vector<std::byte> picture(expected.size() + 1, std::byte{0xA5}); // one more, which is to stay
            path.process(frame, settings, picture);
            ASSERT_EQ(picture.back(), std::byte{0xA5});
            picture.pop_back();
            ASSERT_EQ(picture, expected) << "case " << i << ", path " << &path - paths.data() << ", " << width << " x "
                                         << height;
        }
    }
}

TEST(ImagePath, SizesAreLimited) {
    static constexpr std::array<std::uint32_t, 4096> table{};
    ImagePathSettings settings{.region = {0, 0, ~0U, ~0U}, .lookupTable = table, .format = OutputFormat::bits16};
    EXPECT_EQ(outputBytes(settings), std::size_t{frameLimit} * frameLimit * 2);
    ImagePath path;
    std::vector<std::byte> small(100);
    EXPECT_THROW(path.process({}, settings, small), std::length_error);
    for (const ImageRegion region : {ImageRegion{0, 0, 0, 5}, {0, 0, 5, 0}}) {
        settings.region = region;
        EXPECT_EQ(outputBytes(settings), 0U);
        path.process({}, settings, {});
    }
}

} // namespace
} // namespace qelm::virtual_board
