// Shading correction from outside: coefficients from reference images and line by line, how they reach the design, and
// what is left behind when something fails on the way.

#include "fixture.h"
#include "support/temporary_folder.h"

#include <array>
#include <chrono>
#include <limits>
#include <span>
#include <thread>

#if defined(__linux__) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
#include <sys/resource.h>
#endif

namespace qelm::test {
namespace {

namespace fs = std::filesystem;

constexpr std::int32_t planeLimit = 8192;
constexpr std::uint16_t defective = 65535;
const std::string prefix = "Device1_Process0_Shading_";

struct Picture {
    std::int32_t width, height, bits;
    std::vector<std::uint32_t> samples;
    std::int32_t samplesPerPixel = 1;
};

/** Writes an uncompressed little-endian TIFF. */
void writeTiff(const std::string& path, const Picture& picture) {
    std::string file("II*\0\0\0\0\0", 8);
    const auto put = [&](std::uint64_t value, int bytes) {
        for (int i = 0; i < bytes; ++i, value >>= 8) {
            file += static_cast<char>(value & 0xFF);
        }
    };
    for (const std::uint32_t sample : picture.samples) {
        put(sample, picture.bits / 8);
    }
    const std::uint64_t directory = file.size() + file.size() % 2;
    file.resize(directory);
    const std::pair<int, std::uint64_t> tags[] = {
        {256, static_cast<std::uint64_t>(picture.width)},
        {257, static_cast<std::uint64_t>(picture.height)},
        {258, static_cast<std::uint64_t>(picture.bits)}, // one value for each sample is allowed for
        {259, 1},
        {262, picture.samplesPerPixel == 1 ? 1 : 2},
        {273, 8},
        {277, static_cast<std::uint64_t>(picture.samplesPerPixel)},
        {278, static_cast<std::uint64_t>(picture.height)},
        {279, directory - 8},
    };
    put(std::size(tags), 2);
    for (const auto& [tag, value] : tags) {
        put(static_cast<std::uint64_t>(tag), 2);
        put(4, 2);
        put(1, 4);
        put(value, 4);
    }
    put(0, 4);
    for (int i = 0; i < 4; ++i) {
        file[static_cast<size_t>(4 + i)] = static_cast<char>(directory >> (8 * i) & 0xFF);
    }
    std::ofstream(path, std::ios::binary) << file;
}

/** The plane that a board's design has loaded last; empty before the first. */
std::span<const std::uint16_t> loadedPlane(const Board& board, std::uint32_t buffer) {
    const std::uint16_t* pixels = nullptr;
    std::int32_t width = 0;
    std::int32_t height = 0;
    if (board.applet().virtualBoard()->coefficients(board.virtualBoard(), buffer, &pixels, &width, &height) != 0) {
        return {};
    }
    EXPECT_EQ(width, planeLimit);
    EXPECT_EQ(height, planeLimit);
    return {pixels, size_t{planeLimit} * planeLimit};
}

class Shading : public BoardTest {
  protected:
    void use(std::int32_t id, const char* name, const Picture& picture) {
        writeTiff(folder_.file(name), picture);
        ASSERT_EQ(board_.set(id, folder_.file(name)), 0);
    }
    void useBlack(const Picture& picture) { use(FG_SHADING_BLACK_FILENAME, "black.tif", picture); }
    void useGray(const Picture& picture) { use(FG_SHADING_GRAY_FILENAME, "gray.tif", picture); }
    std::int32_t apply() { return board_.set(FG_SHADING_APPLY_SETTINGS, std::int32_t{FG_APPLY}); }
    double normalization() const { return board_.get<double>(FG_SHADING_GAIN_NORMALIZATION_VALUE); }

    std::uint16_t offset(std::int32_t x, std::int32_t y) const { return loaded(0, x, y); }
    std::uint16_t gain(std::int32_t x, std::int32_t y) const { return loaded(1, x, y); }
    std::uint16_t loaded(std::uint32_t buffer, std::int32_t x, std::int32_t y) const {
        const auto plane = loadedPlane(board_, buffer);
        return plane.empty() ? std::uint16_t{0} : plane[static_cast<size_t>(y * planeLimit + x)];
    }
    /** How many coefficients of a loaded plane differ from `value`. */
    std::ptrdiff_t others(std::uint32_t buffer, std::uint16_t value) const {
        const auto plane = loadedPlane(board_, buffer);
        return static_cast<std::ptrdiff_t>(plane.size()) - std::ranges::count(plane, value);
    }
    /** Neither a file nor an image remains. */
    void expectTidy() const {
        EXPECT_EQ(folder_.leftOver(), 0);
        EXPECT_EQ(control().resources().imageBuffers, 0);
    }

    TemporaryFolder folder_;
};

TEST_F(Shading, SettingsAreCheckedAndWritten) {
    EXPECT_THAT(writesOfSet(FG_SHADING_OFFSET_ENABLE, 1), ElementsAre(prefix + "EnableOffset_Enable_Value=1"));
    EXPECT_THAT(writesOfSet(FG_SHADING_GAIN_ENABLE, 1), ElementsAre(prefix + "EnableGain_Enable_Value=1"));
    EXPECT_THAT(writesOfSet(FG_SHADING_DEAD_PIXEL_INTERPOLATION_ENABLE, 1U),
                ElementsAre("Device1_Process0_NoiseFilter_EnableDeadPixelReplacement_Value=1"));
    for (const std::int32_t id : {FG_SHADING_OFFSET_ENABLE, FG_SHADING_GAIN_ENABLE}) {
        expectRefused(id, 2, -6000);
        expectRollBackAtEachWrite(id, 0);
    }
    expectRefused(FG_SHADING_DEAD_PIXEL_INTERPOLATION_ENABLE, 2U, -6000);
    expectRefused(FG_SHADING_DEAD_PIXEL_INTERPOLATION_THRESHOLD, 4096U, -6000);
    expectRefused(FG_SHADING_GAIN_NORMALIZATION_VALUE, 4095.5, -6000);
    expectRefused(FG_SHADING_GAIN_NORMALIZATION_VALUE, -0.5, -6000);
    expectRefused(FG_SHADING_GAIN_CORRECTION_MODE, 4U, -6000);
    expectRefused(FG_SHADING_APPLY_SETTINGS, 0, -6000);
    EXPECT_THAT(writesOfSet(FG_SHADING_APPLY_SETTINGS, 1), IsEmpty()); // without files
    EXPECT_EQ(peek(prefix + "EnableGain_Default_Value"), 4096U);       // since start-up
}

TEST_F(Shading, TheModeDecidesOverTheNormalizationValue) {
    const auto access = [&] { return described(board_, "FG_SHADING_GAIN_NORMALIZATION_VALUE").access; };
    EXPECT_EQ(normalization(), 4095.0);
    EXPECT_EQ(access(), 1);
    const struct {
        std::uint32_t mode;
        double value;
        std::int32_t access;
    } steps[] = {{FG_MEAN_VALUE, 0.0, 1},
                 {FG_CUSTOM_VALUE, 0.0, 7},
                 {FG_MAX_RANGE, 4095.0, 1},
                 {FG_CUSTOM_VALUE, 4095.0, 7},
                 {FG_MAX_VALUE, 0.0, 1}};
    for (const auto& step : steps) {
        EXPECT_THAT(writesOfSet(FG_SHADING_GAIN_CORRECTION_MODE, step.mode), IsEmpty());
        EXPECT_EQ(normalization(), step.value);
        EXPECT_EQ(access(), step.access);
    }
}

TEST_F(Shading, BlackAloneMakesOffsets) {
    useBlack({4, 1, 16, {100, 65535, 65534, 0}});
    const std::vector<std::string> writes = writesOf(board_, [&] { EXPECT_EQ(apply(), 0); });
    ASSERT_EQ(writes.size(), 4U); // path, load, path, load
    EXPECT_THAT(writes[0], testing::StartsWith(prefix + "ShadingBuffer_0_CoefficientFile 0="));
    EXPECT_EQ(writes[1], prefix + "ShadingBuffer_0_LoadCoefficients=1");
    EXPECT_THAT(writes[2], testing::StartsWith(prefix + "ShadingBuffer_1_CoefficientFile 0="));
    EXPECT_EQ(writes[3], prefix + "ShadingBuffer_1_LoadCoefficients=1");
    EXPECT_EQ(offset(0, 0), 100);
    EXPECT_EQ(offset(1, 0), 65534);
    EXPECT_EQ(offset(2, 0), 65534);
    EXPECT_EQ(others(0, 0), 3);
    EXPECT_EQ(others(1, 4096), 0);
    EXPECT_EQ(normalization(), 4095.0);
    expectTidy();

    useBlack({2, 1, 8, {100, 255}}); // smaller than before: what was there is gone
    EXPECT_EQ(apply(), 0);
    EXPECT_EQ(offset(0, 0), 25600);
    EXPECT_EQ(offset(1, 0), 65280);
    EXPECT_EQ(others(0, 0), 2);
    expectTidy();

    // A load ends with computing from the files that it names.
    const std::string configuration = folder_.file("setup.kcf");
    ASSERT_EQ(board_.applet()->Fg_saveConfig(board_, configuration.c_str()), 0);
    writeTiff(folder_.file("black.tif"), {2, 1, 8, {100, 3}});
    EXPECT_EQ(board_.applet()->Fg_loadConfig(board_, configuration.c_str()), 0);
    EXPECT_EQ(offset(1, 0), 768);
}

TEST_F(Shading, TemporaryFilesAreNumberedByTheSystemsMilliseconds) {
    useBlack({1, 1, 8, {1}});
    const auto start = std::chrono::steady_clock::now();
    std::vector<std::uint64_t> numbers;
    for (const std::int32_t set : {1, 2}) {
        const std::vector<std::string> writes = writesOf(board_, [&] { EXPECT_EQ(apply(), 0) << set; });
        for (const std::string& write : {writes.at(0), writes.at(2)}) {
            const std::string name = write.substr(write.find('=') + 1);
            EXPECT_EQ(fs::path(name).parent_path(), folder_.path() / "system");
            ASSERT_THAT(name, testing::AllOf(testing::HasSubstr("coef-"), testing::EndsWith(".tiff")));
            const std::string number = name.substr(name.rfind("coef-") + 5, name.size() - name.rfind("coef-") - 10);
            ASSERT_EQ(number.size(), 6U) << name;
            std::uint64_t value = 0;
            for (size_t digit = 6; digit-- > 0;) { // the least significant one comes first
                const size_t found =
                    std::string("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789").find(number[digit]);
                ASSERT_NE(found, std::string::npos) << name;
                value = value * 62 + found;
            }
            numbers.push_back(value);
        }
    }
    // Each file adds the time to the number before, modulo 62^6: what is added grows by the time between the files.
    const auto passed = std::chrono::ceil<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start).count();
    constexpr std::uint64_t modulus = 62ULL * 62 * 62 * 62 * 62 * 62;
    std::vector<std::uint64_t> added;
    for (size_t i = 1; i < numbers.size(); ++i) {
        added.push_back((numbers[i] + modulus - numbers[i - 1]) % modulus);
    }
    EXPECT_TRUE(std::ranges::is_sorted(added));
    EXPECT_GT(added.back(), added.front());
    EXPECT_LE(added.back() - added.front(), static_cast<std::uint64_t>(passed) + 32) << "a clock tick of the system's";
}

TEST_F(Shading, EveryModeReachesItsTarget) {
    const double half = 32768.0 / 65535.0;
    const Picture gray{2, 2, 16, {65535, 32768, 16384, 0}};
    const Picture black{2, 1, 16, {0, 16384}};
    const struct {
        std::uint32_t mode;
        double normalization;
        std::vector<std::uint16_t> gains; // of both rows
    } cases[] = {
        {FG_MAX_VALUE, 4095.0, {4096, 16384, 16384, 65535}},
        {FG_MAX_RANGE, 4095.0, {4096, 16384, 16384, 65535}},
        {FG_MEAN_VALUE, (1.0 + 16384 / 65535.0 + 16384 / 65535.0) / 4 * 4095, {1536, 6144, 6144, 65535}},
        {FG_CUSTOM_VALUE, half * 4095, {2048, 8192, 8192, 65535}},
    };
    useGray(gray);
    useBlack(black);
    for (const auto& one : cases) {
        SCOPED_TRACE(one.mode);
        ASSERT_EQ(board_.set(FG_SHADING_GAIN_CORRECTION_MODE, one.mode), 0);
        if (one.mode == FG_CUSTOM_VALUE) {
            ASSERT_EQ(board_.set(FG_SHADING_GAIN_NORMALIZATION_VALUE, one.normalization), 0);
        }
        EXPECT_EQ(apply(), 0);
        EXPECT_NEAR(normalization(), one.normalization, 1e-9);
        const std::vector<std::uint16_t> gains{gain(0, 0), gain(1, 0), gain(0, 1), gain(1, 1)};
        EXPECT_EQ(gains, one.gains);
        EXPECT_EQ(others(1, 4096), one.gains[0] == 4096 ? 3 : 4);
        EXPECT_EQ(offset(1, 0), 16384);
        expectTidy();
    }

    useGray({3, 1, 8, {200, 100, 50}}); // depths mix; a black image brighter than the grey one makes gains saturate
    useBlack({3, 1, 16, {0, 257 * 50, 257 * 60}});
    ASSERT_EQ(board_.set(FG_SHADING_GAIN_CORRECTION_MODE, std::uint32_t{FG_MAX_VALUE}), 0);
    EXPECT_EQ(apply(), 0);
    EXPECT_NEAR(normalization(), 200 / 255.0 * 4095, 1e-9);
    EXPECT_EQ(gain(0, 0), 4096);
    EXPECT_EQ(gain(1, 0), 16384);
    EXPECT_EQ(gain(2, 0), 65535);
}

TEST_F(Shading, DefectivePixelsAreMarkedWhereBothImagesAre) {
    useBlack({4, 1, 8, {0, 3, 4, 9}});
    useGray({3, 1, 16, {252, 251, 60000}});
    ASSERT_EQ(board_.set(FG_SHADING_DEAD_PIXEL_INTERPOLATION_ENABLE, 1U), 0);
    ASSERT_EQ(board_.set(FG_SHADING_DEAD_PIXEL_INTERPOLATION_THRESHOLD, 3U), 0);
    EXPECT_EQ(apply(), 0);
    // Full scale is 255, the black image's, for grey samples as they stand in the file.
    EXPECT_EQ(offset(0, 0), 0);
    EXPECT_EQ(offset(1, 0), defective); // grey too dark: 251
    EXPECT_EQ(offset(2, 0), defective); // black too bright
    EXPECT_EQ(offset(3, 0), 9 * 256);   // no grey pixel to tell
    useBlack({4, 1, 16, {3, 3, 4, 0}}); // of the same depth: full scale is 65535
    useGray({4, 1, 16, {65532, 65531, 65535, 65532}});
    EXPECT_EQ(apply(), 0);
    EXPECT_EQ((std::array{offset(0, 0), offset(1, 0), offset(2, 0), offset(3, 0)}),
              (std::array<std::uint16_t, 4>{3, defective, defective, 0}));
    ASSERT_EQ(board_.set(FG_SHADING_DEAD_PIXEL_INTERPOLATION_ENABLE, 0U), 0);
    EXPECT_EQ(apply(), 0);
    EXPECT_EQ(offset(2, 0), 4);
}

TEST_F(Shading, PixelsBeyondThePlanesCountForTheTargetAlone) {
    Picture gray{planeLimit + 2, 1, 16, std::vector<std::uint32_t>(planeLimit + 2, 20000)};
    gray.samples.back() = 40000;
    useGray(gray);
    EXPECT_EQ(apply(), 0);
    EXPECT_EQ(normalization(), 40000 / 65535.0 * 4095.0);
    EXPECT_EQ(gain(planeLimit - 1, 0), 8192);
    EXPECT_EQ(others(1, 4096), planeLimit);
}

TEST_F(Shading, EveryFailureHasItsCodeAndLeavesNothingBehind) {
    const Picture good{2, 1, 8, {10, 20}};
    const std::string missing = folder_.file("missing.tif");
    useBlack(good);
    useGray(good);
    const auto expectFailure = [&](std::int32_t code, const char* what) {
        SCOPED_TRACE(what);
        EXPECT_EQ(apply(), code);
        EXPECT_EQ(lastError(board_), code);
        EXPECT_EQ(board_.get<std::int32_t>(FG_SHADING_APPLY_SETTINGS), FG_APPLY);
        expectTidy();
    };
    for (const std::int32_t id : {FG_SHADING_BLACK_FILENAME, FG_SHADING_GRAY_FILENAME}) {
        const std::string used = board_.get<std::string>(id);
        ASSERT_EQ(board_.set(id, missing), 0);
        expectFailure(-2076, "no such file");
        use(id, "rgb.tif", {2, 1, 8, {1, 2, 3, 4, 5, 6}, 3});
        expectFailure(-2076, "three samples");
        use(id, "deep.tif", {2, 1, 32, {1, 2}});
        expectFailure(-2076, "32 bits");
        ASSERT_EQ(board_.set(id, used), 0);
    }
    useBlack({2, 1, 8, {200, 200}});
    ASSERT_EQ(board_.set(FG_SHADING_GAIN_CORRECTION_MODE, std::uint32_t{FG_MEAN_VALUE}), 0);
    expectFailure(-6000, "a black image brighter than the grey one");
    EXPECT_EQ(normalization(), 0.0);
    useBlack(good);
    for (std::uint32_t image = 0; image < 2; ++image) {
        control().fail(nullptr, "writeImage", nullptr, image, 1, injected);
        expectFailure(-1, "a coefficient image cannot be written");
    }
    for (std::uint32_t write = 0; write < 4; ++write) {
        control().fail(board_.virtualBoard(), nullptr, nullptr, write, 1, injected);
        expectFailure(injected, "a design write");
    }
    control().clearFaults();
    TemporaryFolder::useForSystem(folder_.path() / "gone");
    expectFailure(-2070, "no temporary directory");
    TemporaryFolder::useForSystem(folder_.path() / "system");
    EXPECT_EQ(apply(), 0);
}

TEST_F(Shading, FilesOfOtherProgramsAreRead) {
    // The mean over every pixel shows that all of them arrived. Nothing needs to be loaded for that.
    ASSERT_EQ(board_.set(FG_SHADING_GAIN_CORRECTION_MODE, std::uint32_t{FG_MEAN_VALUE}), 0);
    const auto meanOf = [](bool wide, bool negative) {
        double sum = 0.0;
        for (int y = 0; y < 23; ++y) {
            for (int x = 0; x < 37; ++x) {
                const int value = (x * 1500 + y * 321 + 7) % 65536;
                const int sample = wide ? value : value >> 8;
                const int largest = wide ? 65535 : 255;
                sum += (negative ? largest - sample : sample) / static_cast<double>(largest);
            }
        }
        return sum / (37 * 23);
    };
    int files = 0;
    for (const fs::directory_entry& entry : fs::directory_iterator(fs::path(QELM_TEST_DATA) / "tiff")) {
        const std::string name = entry.path().filename().string();
        SCOPED_TRACE(name);
        ++files;
        ASSERT_EQ(board_.set(FG_SHADING_GRAY_FILENAME, entry.path().string()), 0);
        control().fail(nullptr, "writeImage", nullptr, 0, 1, injected);
        const bool refused = name.starts_with("refused");
        EXPECT_EQ(apply(), refused ? -2076 : -1);
        if (!refused) {
            const auto has = [&](const char* part) { return name.find(part) != std::string::npos; };
            EXPECT_EQ(normalization(), meanOf(has("_16_"), has("min_is_white")) * 4095.0);
        }
        control().clearFaults();
        expectTidy();
    }
    EXPECT_EQ(files, 19);
}

TEST_F(Shading, LinesAreWrittenThroughAnAccess) {
    const auto& applet = board_.applet();
    EXPECT_EQ(applet->Fg_AllocShading(board_, 0, 1), nullptr);
    EXPECT_EQ(lastError(board_), -1);
    ShadingAccess* access = applet->Fg_AllocShading(board_, 0, 0);
    ASSERT_NE(access, nullptr);
    EXPECT_EQ(lastError(board_), 0);

    const auto expectMisuse = [&](std::int32_t result) {
        EXPECT_EQ(result, -2070);
        EXPECT_EQ(lastError(board_), -2070);
    };
    for (ShadingAccess* inactive : {access, static_cast<ShadingAccess*>(nullptr)}) {
        expectMisuse(applet->Shad_GetMaxLine(board_, inactive));
        expectMisuse(applet->Shad_SetSubValueLine(board_, inactive, 0, 0, 1.0F));
        expectMisuse(applet->Shad_SetMultValueLine(board_, inactive, 0, 0, 1.0F));
        expectMisuse(applet->Shad_SetFixedPatternNoiseLine(board_, inactive, 0, 0, 1));
        expectMisuse(applet->Shad_WriteActLine(board_, inactive, 0));
        expectMisuse(applet->Shad_FreeAccess(board_, inactive));
    }
    expectMisuse(applet->Shad_GetAccess(board_, nullptr));
    expectMisuse(applet->Fg_FreeShading(board_, nullptr));
    EXPECT_EQ(applet->Shad_GetAccess(board_, access), 0);
    expectMisuse(applet->Shad_GetAccess(board_, access));
    EXPECT_EQ(applet->Shad_GetMaxLine(board_, access), planeLimit);
    for (const auto& [x, channel] : {std::pair{-1, 0}, {planeLimit, 0}, {0, 1}, {0, -1}}) {
        expectMisuse(applet->Shad_SetSubValueLine(board_, access, x, channel, 1.0F));
        expectMisuse(applet->Shad_SetMultValueLine(board_, access, x, channel, 1.0F));
        expectMisuse(applet->Shad_SetFixedPatternNoiseLine(board_, access, x, channel, 1));
    }

    const auto setAll = [&](std::int32_t x, float sub, float mult, std::int32_t on) {
        EXPECT_EQ(applet->Shad_SetSubValueLine(board_, access, x, 0, sub), 0);
        EXPECT_EQ(applet->Shad_SetMultValueLine(board_, access, x, 0, mult), 0);
        EXPECT_EQ(applet->Shad_SetFixedPatternNoiseLine(board_, access, x, 0, on), 0);
    };
    setAll(0, 2.5F, 1.5F, 0);
    setAll(planeLimit - 1, 3.0F, 20.0F, 7); // defective, whatever the offset
    EXPECT_EQ(applet->Shad_WriteActLine(board_, access, 3), 0);
    EXPECT_EQ(applet->Shad_WriteActLine(board_, access, 4), 0); // nothing given since
    EXPECT_EQ(applet->Shad_SetSubValueLine(board_, access, 0, 0, 9.0F), 0);
    EXPECT_EQ(applet->Shad_WriteActLine(board_, access, planeLimit + 1), -6000);
    EXPECT_EQ(applet->Shad_WriteActLine(board_, access, planeLimit - 1), 0); // it was still pending
    for (const std::int32_t line : {planeLimit, -1, std::numeric_limits<std::int32_t>::min()}) {
        setAll(5, 100.0F, 2.0F, 1);
        EXPECT_EQ(applet->Shad_WriteActLine(board_, access, line), 0); // goes nowhere
    }
    EXPECT_EQ(applet->Shad_FreeAccess(board_, access), 0);
    EXPECT_EQ(offset(0, 3), 40);
    EXPECT_EQ(gain(0, 3), 6144);
    EXPECT_EQ(offset(planeLimit - 1, 3), defective);
    EXPECT_EQ(gain(planeLimit - 1, 3), 65535);
    EXPECT_EQ(offset(0, planeLimit - 1), 144);
    EXPECT_EQ(others(0, 0), 3);
    EXPECT_EQ(others(1, 4096), 2);
    expectTidy();

    // The planes keep what a failing computation knew, and releasing an access loads them.
    useGray({2, 1, 8, {10, 20}});
    useBlack({2, 1, 8, {100, 200}});
    ASSERT_EQ(board_.set(FG_SHADING_GAIN_CORRECTION_MODE, std::uint32_t{FG_MEAN_VALUE}), 0);
    EXPECT_EQ(apply(), -6000);
    EXPECT_EQ(applet->Shad_GetAccess(board_, access), 0);
    EXPECT_EQ(applet->Shad_FreeAccess(board_, access), 0);
    EXPECT_EQ(offset(1, 0), 51200);
    EXPECT_EQ(others(1, 4096), 0);

    EXPECT_EQ(applet->Shad_GetAccess(board_, access), 0);
    control().fail(nullptr, "writeImage", nullptr, 0, 1, injected);
    EXPECT_EQ(applet->Shad_FreeAccess(board_, access), -1);
    EXPECT_EQ(lastError(board_), -1);
    EXPECT_EQ(applet->Fg_FreeShading(board_, access), 0);
    expectMisuse(applet->Fg_FreeShading(board_, access));
    EXPECT_NE(applet->Fg_AllocShading(board_, 0, 0), nullptr); // freed with the board
    expectTidy();
}

TEST_F(Shading, TwoBoardsComputeSideBySide) {
    Board other(applet_);
    writeTiff(folder_.file("one.tif"), {1, 1, 16, {1111}});
    writeTiff(folder_.file("two.tif"), {1, 1, 16, {2222}});
    const auto run = [&](Board& board, const std::string& file, std::uint16_t expected) {
        EXPECT_EQ(board.set(FG_SHADING_BLACK_FILENAME, file), 0);
        for (int round = 0; round < 2; ++round) {
            EXPECT_EQ(board.set(FG_SHADING_APPLY_SETTINGS, std::int32_t{FG_APPLY}), 0);
            EXPECT_EQ(loadedPlane(board, 0)[0], expected);
        }
    };
    std::thread thread([&] { run(other, folder_.file("two.tif"), 2222); });
    run(board_, folder_.file("one.tif"), 1111);
    thread.join();
    expectTidy();
}

#if defined(__linux__) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
TEST_F(Shading, MissingMemoryIsToldApart) {
    useBlack({1, 1, 8, {1}});
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_AS, &before), 0);
    std::ifstream statistics("/proc/self/statm");
    rlim_t pages = 0;
    statistics >> pages;
    rlimit small = before;
    small.rlim_cur = pages * 4096 + (rlim_t{100} << 20); // less than a plane
    ASSERT_EQ(setrlimit(RLIMIT_AS, &small), 0);
    const std::int32_t applied = apply();
    const ShadingAccess* access = board_.applet()->Fg_AllocShading(board_, 0, 0);
    const std::int32_t error = lastError(board_);
    ASSERT_EQ(setrlimit(RLIMIT_AS, &before), 0);
    EXPECT_EQ(applied, -2020);
    EXPECT_EQ(access, nullptr);
    EXPECT_EQ(error, -1);
    expectTidy();
    EXPECT_EQ(apply(), 0);
}
#endif

} // namespace
} // namespace qelm::test
