#include "camera_fixture.h"
#include "model/camera/camera.h"
#include "model/camera/simulator.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <string>
#include <vector>

namespace qelm::virtual_board {
namespace {

using ::testing::HasSubstr;

/** A scene in which each pixel tells its place. */
Scene numbered(std::uint32_t width, std::uint32_t height) {
    std::vector<std::uint16_t> pixels;
    for (std::uint32_t i = 0; i < width * height; ++i) {
        pixels.push_back(static_cast<std::uint16_t>(i << 4));
    }
    return Scene::fromImage(pixels.data(), width, height, 16);
}

using Line = std::vector<unsigned>;

/** What each tap sends in a line. */
std::array<Line, 4> taps(const LinkFrame& frame, std::uint32_t index, LinkFormat format = LinkFormat::bits12) {
    std::vector<LinkWord> words(frame.clocks());
    frame.line(index, words);
    std::array<Line, 4> result;
    for (const LinkWord word : words) {
        const TapPixels pixels = fromPorts(word, format);
        for (std::size_t tap = 0; tap < pixels.size(); ++tap) {
            result[tap].push_back(pixels[tap]);
        }
    }
    return result;
}

TEST(CameraFrames, TapsHaveTheOrderOfTheGeometry) {
    const Line up0 = {0, 1, 2, 3, 4, 5, 6, 7}, down0 = {7, 6, 5, 4, 3, 2, 1, 0};
    const Line up8 = {8, 9, 10, 11, 12, 13, 14, 15}, down8 = {15, 14, 13, 12, 11, 10, 9, 8};
    const struct {
        Geometry geometry;
        Line left, right;
    } cases[] = {
        {Geometry::outerToMiddle, up0, down8},
        {Geometry::leftToRight, up0, up8},
        {Geometry::middleToOuter, down0, up8},
    };
    const auto inRow = [](Line line, unsigned row) {
        for (unsigned& pixel : line) {
            pixel += 16 * row;
        }
        return line;
    };
    const Scene scene = numbered(16, 4);
    const Sensor sensor({}, 16, 4);
    for (const auto& row : cases) {
        SCOPED_TRACE(static_cast<int>(row.geometry));
        const CameraFrame frame(scene, sensor, row.geometry, LinkFormat::bits12, 0, 1);
        ASSERT_EQ(frame.lines(), 2U);
        ASSERT_EQ(frame.clocks(), 8U);
        EXPECT_EQ(taps(frame, 0),
                  (std::array{inRow(row.left, 0), inRow(row.right, 0), inRow(row.left, 3), inRow(row.right, 3)}));
        EXPECT_EQ(taps(frame, 1),
                  (std::array{inRow(row.left, 1), inRow(row.right, 1), inRow(row.left, 2), inRow(row.right, 2)}));
    }
}

TEST(CameraFrames, SendTheHighestBits) {
    std::vector<std::uint16_t> pixels(32, 0xABC0);
    const Scene scene = Scene::fromImage(pixels.data(), 16, 2, 16);
    const Sensor sensor({}, 16, 2);
    for (const auto& [format, value] :
         {std::pair{LinkFormat::bits8, 0xABU}, {LinkFormat::bits10, 0x2AFU}, {LinkFormat::bits12, 0xABCU}}) {
        const CameraFrame frame(scene, sensor, Geometry::leftToRight, format, 0, 1);
        for (const Line& tap : taps(frame, 0, format)) {
            EXPECT_EQ(tap, Line(8, value));
        }
    }
}

TEST(Cameras, ComeFromTheirOptions) {
    const auto options = CameraOptions::parse("width=16,height=4,scene=white,bits=12,nominal=100");
    const Camera camera(options);
    EXPECT_EQ(taps(camera.frame(0, 25'000), 1)[2], Line(8, 1024)); // a quarter of 4095, rounded
    EXPECT_EQ(taps(camera.frame(0, 0), 1)[2], Line(8, 0));
    EXPECT_EQ(taps(camera.frame(0, 1'000'000), 1)[2], Line(8, 4095));
    CameraOptions odd = options;
    odd.height = 5;
    EXPECT_THAT(refusal([&] { Camera{odd}; }), HasSubstr("16 x 5"));
    CameraOptions other = options;
    other.scene = "no such file";
    EXPECT_EQ(refusal([&] { Camera{other}; }), R"("no such file" cannot be opened)");
}

TEST(Cameras, BeginWithTheirFirstFrame) {
    const std::string sensor = "width=64,height=4,scene=gray,bits=12,noise=4,offset=8,column_offset=6,gain=3,";
    const auto sent = [](const std::string& options, std::uint64_t number) {
        return taps(Camera(CameraOptions::parse(options)).frame(number, 0), 1);
    };
    EXPECT_EQ(sent(sensor + "first_frame=5", 0), sent(sensor, 5));
    EXPECT_EQ(sent(sensor + "first_frame=5", 2), sent(sensor, 7));
    EXPECT_NE(sent(sensor + "first_frame=5", 0), sent(sensor, 0));
    EXPECT_EQ(sent(sensor + "noise=0,first_frame=5", 0), sent(sensor + "noise=0", 0)) << "the same sensor";
    EXPECT_NE(sent(sensor + "noise=0,seed=2", 0), sent(sensor + "noise=0", 0)) << "another one";
}

/** The fingerprint of two frames. */
std::uint64_t twoFrames(const SensorSettings& settings, std::uint64_t firstFrame) {
    constexpr std::uint32_t width = 64, height = 32;
    const Sensor sensor(settings, width, height);
    std::uint64_t result = noPixels;
    for (std::uint64_t frame = firstFrame; frame < firstFrame + 2; ++frame) {
        for (std::uint32_t y = 0; y < height; ++y) {
            std::vector<std::uint16_t> row(width, 1500);
            sensor.expose(row, y, frame, 1.25);
            result = fingerprint(row, result);
        }
    }
    return result;
}

TEST(Sensors, GiveTheSamePixelsEverywhere) {
    const SensorSettings settings = SensorSettings::typical();
    EXPECT_EQ(twoFrames(settings, 7), 14337695111872272450U);
    EXPECT_NE(twoFrames(settings, 7), twoFrames(settings, 8));
    SensorSettings other = settings;
    ++other.seed;
    EXPECT_NE(twoFrames(settings, 7), twoFrames(other, 7));
    SensorSettings fixed = settings;
    fixed.noise = 0;
    EXPECT_EQ(twoFrames(fixed, 7), twoFrames(fixed, 8));

    // What is kept of small sensors and made anew of large ones, vignetting and defects aside.
    SensorSettings even = settings;
    even.vignetting = even.deadPixels = even.hotPixels = 0;
    std::vector<std::uint16_t> small(64, 1500), large(8192, 1500);
    Sensor(even, 64, 1024).expose(small, 700, 7, 1);
    Sensor(even, 8192, 1024).expose(large, 700, 7, 1);
    large.resize(small.size());
    EXPECT_EQ(small, large);
}

struct Statistics {
    double mean = 0, deviation = 0, columnDeviation = 0;
    int black = 0, white = 0;
};

Statistics statistics(const SensorSettings& settings, std::uint16_t light) {
    constexpr std::uint32_t side = 256;
    const Sensor sensor(settings, side, side);
    std::vector<double> columns(side);
    double sum = 0, squares = 0;
    Statistics result;
    for (std::uint32_t y = 0; y < side; ++y) {
        std::vector<std::uint16_t> row(side, light);
        sensor.expose(row, y, 3, 1);
        for (std::uint32_t x = 0; x < side; ++x) {
            sum += row[x];
            squares += row[x] * row[x];
            columns[x] += row[x];
            result.black += row[x] == 0;
            result.white += row[x] == 4095;
        }
    }
    result.mean = sum / (side * side);
    result.deviation = std::sqrt(squares / (side * side) - result.mean * result.mean);
    double columnSquares = 0;
    for (const double column : columns) {
        columnSquares += (column / side - result.mean) * (column / side - result.mean);
    }
    result.columnDeviation = std::sqrt(columnSquares / side);
    return result;
}

TEST(Sensors, AddWhatTheirSettingsTell) {
    constexpr std::uint16_t light = 2000;
    const struct {
        const char* what;
        SensorSettings settings;
        double mean, deviation, columnDeviation;
    } cases[] = {
        {"nothing", {}, light, 0, 0},
        {"black level", {.black = 100}, light + 100, 0, 0},
        {"offset", {.offset = 40}, light, 40, 40 / 16.0},
        {"columns", {.columnOffset = 40}, light, 40, 40},
        {"gain", {.gain = 2}, light, 40, 40 / 16.0},
        {"noise", {.noise = 40}, light, 40, 40 / 16.0},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.what);
        const Statistics found = statistics(row.settings, light);
        // The columns are few: their mean strays by 40/16, their deviation by 40/sqrt(512).
        EXPECT_NEAR(found.mean, row.mean, row.columnDeviation == 40 ? 8 : 0.8);
        EXPECT_NEAR(found.deviation, row.deviation, row.columnDeviation == 40 ? 6 : 0.8);
        EXPECT_NEAR(found.columnDeviation, row.columnDeviation, row.columnDeviation == 40 ? 6 : 0.5);
    }
    const Statistics defects = statistics({.deadPixels = 300, .hotPixels = 200}, light);
    EXPECT_EQ(defects.black, 300);
    EXPECT_EQ(defects.white, 200);

    const Sensor dark({.vignetting = 40}, 64, 64);
    std::vector<std::uint16_t> corner(64, light), middle(64, light);
    dark.expose(corner, 0, 0, 1);
    dark.expose(middle, 32, 0, 1);
    EXPECT_NEAR(corner[0], light * 0.6, 30);
    EXPECT_EQ(corner[0], corner[63]);
    EXPECT_NEAR(middle[32], light, 1);

    EXPECT_THAT(refusal([] { Sensor({.noise = std::nan("")}, 16, 16); }), HasSubstr("noise goes from 0 to 1024"));
    EXPECT_THAT(refusal([] { Sensor({.deadPixels = 20, .hotPixels = 6}, 16, 16); }), HasSubstr("at most 25"));
}

TEST(CameraOptions, AreReadFromText) {
    const auto options = CameraOptions::parse("geometry=Geometry_2XM_2YE,bits=10,width=640,height=480,scene=a=b.png,"
                                              "mode=free,line=3,polarity=high,exposure=12.5,clock=40,line_gap=20,"
                                              "frame_gap=81,sensor=typical,noise=0.5,hot=7,seed=18446744073709551615,"
                                              "first-frame=1000");
    EXPECT_EQ(options.geometry, Geometry::middleToOuter);
    EXPECT_EQ(options.format, LinkFormat::bits10);
    EXPECT_EQ(options.width, 640U);
    EXPECT_EQ(options.scene, "a=b.png");
    EXPECT_FALSE(options.isTriggered);
    EXPECT_EQ(options.triggerLine, 3U);
    EXPECT_FALSE(options.isActiveLow);
    EXPECT_EQ(options.exposure, 12.5);
    EXPECT_FALSE(options.nominalExposure);
    EXPECT_EQ(options.readoutTime(), (240U * (320 + 20) + 81) * 25);
    SensorSettings sensor = SensorSettings::typical();
    sensor.noise = 0.5;
    sensor.hotPixels = 7;
    sensor.seed = ~std::uint64_t{0};
    EXPECT_EQ(options.sensor, sensor);
    EXPECT_EQ(options.firstFrame, 1000U);
    EXPECT_EQ(CameraOptions::parse("first_frame=7").firstFrame, 7U);

    const CameraOptions standard = CameraOptions::parse("");
    EXPECT_EQ(standard.readoutTime(), 512U * 512 * 12.5);
    EXPECT_EQ(standard.exposureFactor(123), 1);

    for (const std::string_view name : Scene::chartNames()) {
        EXPECT_THAT(CameraOptions::help(), HasSubstr(std::string(name)));
    }

    const std::pair<const char*, const char*> refusals[] = {
        {"colour=red", R"(there is no camera option "colour"; there are geometry, bits, width,)"},
        {"bits=8,,width=16", R"(there is no camera option "")"},
        {"bits", R"("bits" takes 8, 10 or 12, not "")"},
        {"bits=9", R"("bits" takes 8, 10 or 12, not "9")"},
        {"width=1000", R"("width" takes 16 to 8192 in steps of 16, not "1000")"},
        {"width=8208", R"("width")"},
        {"height=3", R"("height")"},
        {"line=4", R"("line" takes 0 to 3)"},
        {"line=-1", R"("line")"},
        {"noise=nan", R"("noise")"},
        {"gain=3%", R"("gain")"},
        {"exposure=0", R"("exposure" takes width or)"},
        {"scene=", R"("scene")"},
        {"first-frame=-1", R"("first_frame" takes 0 to)"},
        {"mode=Free", R"("mode" takes triggered or free)"},
    };
    for (const auto& [text, message] : refusals) {
        EXPECT_THAT(refusal([text = text] { CameraOptions::parse(text); }), HasSubstr(message)) << text;
    }
}

TEST(Simulator, SendsWhatItsRegistersTell) {
    // As an image of 16 x 4 pixels with a line gap of 8 is set, 3 of 5 clocks active, tap 3 off.
    SimulatorRegisters registers{
        .width = 4, .lineWidth = 6, .height = 3, .active = 2, .passive = 1, .mask = 0b1011, .roll = 5};
    const SimulatorFrame frame(registers, 2);
    EXPECT_EQ(frame.lines(), 2U);
    EXPECT_EQ(frame.clocks(), 8U);
    const auto sent = taps(frame, 1);
    for (unsigned i = 0; i < 8; ++i) {
        EXPECT_EQ(sent[0][i], (1 + i + 10) * 16);
        EXPECT_EQ(sent[1][i], (1 + i + 10) * 16 + 1024);
        EXPECT_EQ(sent[3][i], (1 + i + 10) * 16 + 3072);
    }
    EXPECT_EQ(sent[2], Line(8, 0));
    EXPECT_EQ(registers.framePeriod(), 320U); // 6 * 4 clocks of 8 ns, and 5 for 3 of them

    registers.passive = ~0U; // no passive clocks
    EXPECT_EQ(registers.framePeriod(), 192U);
    const struct {
        const char* what;
        SimulatorRegisters registers;
        std::uint32_t lines, clocks;
    } extremes[] = {
        {"no width", {.width = 0, .lineWidth = 9, .height = 7, .active = 1}, 0, 0},
        {"no height", {.width = 4, .lineWidth = 4, .height = ~0U, .active = 1}, 0, 0},
        {"one line", {.width = 4, .lineWidth = 4, .height = 0, .active = 1}, 0, 0},
        {"no active clocks", {.width = 4, .lineWidth = 4, .height = 1, .active = ~0U}, 1, 8},
    };
    for (const auto& row : extremes) {
        SCOPED_TRACE(row.what);
        const SimulatorFrame none(row.registers, 0);
        EXPECT_EQ(none.lines(), row.lines);
        EXPECT_EQ(none.clocks(), row.clocks);
        EXPECT_EQ(row.registers.framePeriod(), 0U);
    }
    constexpr std::uint32_t huge = ~1U;
    const SimulatorFrame largest({huge, huge, huge, huge, huge, huge, huge}, ~std::uint64_t{0});
    EXPECT_EQ(largest.lines(), 4096U);
    EXPECT_EQ(taps(largest, 4095)[1].size(), 4096U);
}

} // namespace
} // namespace qelm::virtual_board
